#include "app/routes.h"

#include <string>
#include <utility>

namespace kova::app {

namespace {

using server::PageHandler;
using server::PageRequest;
using wml::Pages;

using Page = void (Pages::*)(int slot, const std::string& F);
using Query = void (Pages::*)(int slot, const std::string& F, const std::string& parameters);

// The pages are built without waiting.

base::Task<int> runPage(Pages* pages, Page build, PageRequest request) {
  (pages->*build)(request.slot, request.F);
  co_return 0;
}

base::Task<int> runQuery(Pages* pages, Query build, PageRequest request) {
  (pages->*build)(request.slot, request.F, request.parameters);
  co_return 0;
}

PageHandler page(Pages& pages, Page build) {
  return [&pages, build](PageRequest request) { return runPage(&pages, build, std::move(request)); };
}

PageHandler query(Pages& pages, Query build) {
  return [&pages, build](PageRequest request) { return runQuery(&pages, build, std::move(request)); };
}

}  // namespace

server::RouteTable makeRoutes(wml::Pages& pages) {
  server::RouteTable routes;
  const PageHandler about = page(pages, &Pages::Get_oabt_main);
  routes["oabt"] = {about, about, {}};
  routes["acal"] = {page(pages, &Pages::Get_acal_main), query(pages, &Pages::Query_acal), {}};
  routes["atsk"] = {page(pages, &Pages::Get_atsk_main), query(pages, &Pages::Query_atsk), {}};
  routes["acon"] = {page(pages, &Pages::Get_acon_main), query(pages, &Pages::Query_acon), {}};
  routes["anot"] = {page(pages, &Pages::Get_anot_main), query(pages, &Pages::Query_anot), {}};
  routes["ocal"] = {page(pages, &Pages::Get_ocal_main), query(pages, &Pages::Query_ocal), {}};
  routes["otsk"] = {page(pages, &Pages::Get_otsk_main), query(pages, &Pages::Query_otsk), {}};
  routes["onot"] = {page(pages, &Pages::Get_onot_main), query(pages, &Pages::Query_onot), {}};
  routes["ocon"] = {page(pages, &Pages::Get_ocon_main), query(pages, &Pages::Query_ocon),
                    query(pages, &Pages::Get_ocon_mainB)};
  routes["oeml"] = {page(pages, &Pages::Get_oeml_main), query(pages, &Pages::Query_oeml), {}};
  return routes;
}

}  // namespace kova::app

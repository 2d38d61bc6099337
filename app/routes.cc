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

template <Page kBuild>
base::Task<int> runPage(Pages* pages, PageRequest request) {
  (pages->*kBuild)(request.slot, request.F);
  co_return 0;
}

template <Query kBuild>
base::Task<int> runQuery(Pages* pages, PageRequest request) {
  (pages->*kBuild)(request.slot, request.F, request.parameters);
  co_return 0;
}

template <Page kBuild>
PageHandler page(Pages& pages) {
  return [&pages](PageRequest request) { return runPage<kBuild>(&pages, std::move(request)); };
}

template <Query kBuild>
PageHandler query(Pages& pages) {
  return [&pages](PageRequest request) { return runQuery<kBuild>(&pages, std::move(request)); };
}

base::Task<int> runSelection(launch::Center* center, PageRequest request) {
  center->Get_comd_main(request.slot, request.F);
  co_return 0;
}

base::Task<int> runLaunching(launch::Center* center, PageRequest request) {
  co_return center->Query_comd(request.slot, request.F, request.parameters);
}

PageHandler selection(launch::Center& center) {
  return [&center](PageRequest request) { return runSelection(&center, std::move(request)); };
}

PageHandler launching(launch::Center& center) {
  return [&center](PageRequest request) { return runLaunching(&center, std::move(request)); };
}

base::Task<int> runAccounts(pop3::Accounts* accounts, PageRequest request) {
  accounts->Get_pop3_main(request.slot, request.F);
  co_return 0;
}

base::Task<int> runMailbox(pop3::Accounts* accounts, PageRequest request) {
  const int status = co_await accounts->Query_pop3(request.slot, std::move(request.F),
                                                   std::move(request.parameters), std::move(request.wanted));
  co_return status;
}

}  // namespace

server::RouteTable makeRoutes(wml::Pages& pages, launch::Center& launchCenter, pop3::Accounts& accounts) {
  server::RouteTable routes;
  const PageHandler about = page<&Pages::Get_oabt_main>(pages);
  routes["oabt"] = {about, about, {}};
  routes["acal"] = {page<&Pages::Get_acal_main>(pages), query<&Pages::Query_acal>(pages), {}};
  routes["atsk"] = {page<&Pages::Get_atsk_main>(pages), query<&Pages::Query_atsk>(pages), {}};
  routes["acon"] = {page<&Pages::Get_acon_main>(pages), query<&Pages::Query_acon>(pages), {}};
  routes["anot"] = {page<&Pages::Get_anot_main>(pages), query<&Pages::Query_anot>(pages), {}};
  routes["ocal"] = {page<&Pages::Get_ocal_main>(pages), query<&Pages::Query_ocal>(pages), {}};
  routes["otsk"] = {page<&Pages::Get_otsk_main>(pages), query<&Pages::Query_otsk>(pages), {}};
  routes["onot"] = {page<&Pages::Get_onot_main>(pages), query<&Pages::Query_onot>(pages), {}};
  routes["ocon"] = {page<&Pages::Get_ocon_main>(pages), query<&Pages::Query_ocon>(pages),
                    query<&Pages::Get_ocon_mainB>(pages)};
  routes["oeml"] = {page<&Pages::Get_oeml_main>(pages), query<&Pages::Query_oeml>(pages), {}};
  routes["comd"] = {selection(launchCenter), launching(launchCenter), {}};
  routes["pop3"] = {[&accounts](PageRequest request) { return runAccounts(&accounts, std::move(request)); },
                    [&accounts](PageRequest request) { return runMailbox(&accounts, std::move(request)); },
                    {}};
  return routes;
}

}  // namespace kova::app

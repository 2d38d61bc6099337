#include "wml/pages.h"

#include "wml/adding.h"
#include "wml/deck_path.h"
#include "wml/parameters.h"

namespace kova::wml {

std::string Pages::deckPath(const std::string& F) const { return wml::deckPath(host_, files_, F); }

void Pages::Query_ocon(int /*slot*/, const std::string& F, const std::string& parameters) {
  Get_ocon(deckPath(F), itemPosition(parameters));
}

void Pages::Query_oeml(int /*slot*/, const std::string& F, const std::string& parameters) {
  Get_oeml(deckPath(F), itemPosition(parameters));
}

void Pages::Query_otsk(int /*slot*/, const std::string& F, const std::string& parameters) {
  Get_otsk(deckPath(F), itemPosition(parameters));
}

void Pages::Query_onot(int /*slot*/, const std::string& F, const std::string& parameters) {
  Get_onot(deckPath(F), itemPosition(parameters));
}

void Pages::Query_ocal(int /*slot*/, const std::string& F, const std::string& parameters) {
  const CalendarFields fields = calendarFields(parameters, clock_.localNow().year);
  Get_ocal(deckPath(F), fields.viewType, fields.date);
}

void Pages::Query_acal(int /*slot*/, const std::string& F, const std::string& parameters) {
  constexpr std::string_view kSeparators[] = {"&dat=", "&tim=", "&dur=", "&rem=", "&pin="};
  const auto fields = splitFields(parameters, kSeparators);
  add_cal({files_, deckPath(F), host_.pinCode(), outlook_},
          {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]});
}

void Pages::Query_acon(int /*slot*/, const std::string& F, const std::string& parameters) {
  constexpr std::string_view kSeparators[] = {"&dat=", "&eml=", "&hom=", "&bus=", "&pag=", "&pin="};
  const auto fields = splitFields(parameters, kSeparators);
  add_con({files_, deckPath(F), host_.pinCode(), outlook_},
          {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[6]});
}

void Pages::Query_anot(int /*slot*/, const std::string& F, const std::string& parameters) {
  constexpr std::string_view kSeparators[] = {"&dat=", "&pin="};
  const auto fields = splitFields(parameters, kSeparators);
  addnot({files_, deckPath(F), host_.pinCode(), outlook_}, {fields[0], fields[1], fields[2]});
}

void Pages::Query_atsk(int /*slot*/, const std::string& F, const std::string& parameters) {
  constexpr std::string_view kSeparators[] = {"&dat=", "&pin="};
  const auto fields = splitFields(parameters, kSeparators);
  add_tsk({files_, deckPath(F), host_.pinCode(), outlook_}, {fields[0], fields[1], fields[2]});
}

}  // namespace kova::wml

#pragma once

#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/outlook.h"
#include "wml/deck.h"
#include "wml/host.h"

namespace kova::wml {

/// The generated pages. Each entry point is given the client's slot and the name F of the deck to write into
/// the page directory ("/ocal2.tmp"), writes the deck and returns; a query handler also gets the parameter
/// text. A builder whose data fails stops there: the deck holds what was written before, and does not exist
/// when it had not been opened yet.
class Pages {
 public:
  Pages(const Host& host, platform::Files& files, const platform::Clock& clock,
        platform::outlook::Automation& outlook)
      : host_(host), files_(files), clock_(clock), outlook_(outlook) {}

  // Entry forms.
  void Get_oabt_main(int slot, const std::string& F);
  void Get_acal_main(int slot, const std::string& F);
  void Get_acon_main(int slot, const std::string& F);
  void Get_anot_main(int slot, const std::string& F);
  void Get_atsk_main(int slot, const std::string& F);
  void Get_ocal_main(int slot, const std::string& F);
  void Get_ocon_main(int slot, const std::string& F);

  // Lists.
  void Get_oeml_main(int slot, const std::string& F);
  void Get_otsk_main(int slot, const std::string& F);
  void Get_onot_main(int slot, const std::string& F);
  /// Contacts by the letters behind "caltp="; none or "*": all.
  void Get_ocon_mainB(int slot, const std::string& F, const std::string& parameters);

  // One item, by its position behind "caltp=" (or "contp=").
  void Query_ocon(int slot, const std::string& F, const std::string& parameters);
  void Query_oeml(int slot, const std::string& F, const std::string& parameters);
  void Query_otsk(int slot, const std::string& F, const std::string& parameters);
  void Query_onot(int slot, const std::string& F, const std::string& parameters);

  /// "caltp=W&dat=03/14": the calendar of a day, week or month.
  void Query_ocal(int slot, const std::string& F, const std::string& parameters);

  // Adding; the parameter text is already percent-decoded.
  void Query_acal(int slot, const std::string& F, const std::string& parameters);
  void Query_acon(int slot, const std::string& F, const std::string& parameters);
  void Query_anot(int slot, const std::string& F, const std::string& parameters);
  void Query_atsk(int slot, const std::string& F, const std::string& parameters);

  // The builders behind the query handlers, with the deck's full path and the fields of the form.
  void Get_ocon(const std::string& path, std::string_view position);
  void Get_oeml(const std::string& path, std::string_view position);
  void Get_otsk(const std::string& path, std::string_view position);
  void Get_onot(const std::string& path, std::string_view position);
  /// View type "D", "W" or "M"; an empty one shows all three. The date is "mm/dd/yyyy".
  void Get_ocal(const std::string& path, std::string_view viewType, std::string_view date);

 private:
  std::string deckPath(const std::string& F) const;

  const Host& host_;
  platform::Files& files_;
  const platform::Clock& clock_;
  platform::outlook::Automation& outlook_;
};

}  // namespace kova::wml

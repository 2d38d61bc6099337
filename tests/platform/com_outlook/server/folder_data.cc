#include "platform/com_outlook/server/data.h"
#include "platform/local_outlook/local_outlook.h"

namespace kova::test_outlook {

std::unique_ptr<platform::outlook::Automation> folderData(const std::string& folder) {
  const platform::local_outlook::Folders folders{folder + "\\calendar", folder + "\\contacts",
                                                 folder + "\\tasks", folder + "\\notes", folder + "\\inbox"};
  return std::make_unique<platform::local_outlook::LocalOutlook>(folders, [](const std::string&) {});
}

}  // namespace kova::test_outlook

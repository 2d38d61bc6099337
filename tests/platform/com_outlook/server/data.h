#pragma once

#include <memory>
#include <string>

#include "platform/outlook.h"

namespace kova::test_outlook {

/// The data of a folder of ordinary files, laid out as the program's own: calendar, contacts, tasks, notes,
/// inbox.
std::unique_ptr<platform::outlook::Automation> folderData(const std::string& folder);

}  // namespace kova::test_outlook

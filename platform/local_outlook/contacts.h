#pragma once

#include "platform/local_outlook/record_store.h"

namespace kova::platform::local_outlook {

/// The contacts of a *.vcf file.
ReadRecords readContacts(std::string_view fileName, const std::string& bytes);

}  // namespace kova::platform::local_outlook

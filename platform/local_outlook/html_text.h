#pragma once

#include <string>
#include <string_view>

namespace kova::platform::local_outlook {

/// What a reader would see of an HTML text (UTF-8): tags, scripts, styles and comments are left out, entities
/// are decoded, blocks and <br> end a line. Line ends are CR LF.
std::string textOfHtml(std::string_view html);

}  // namespace kova::platform::local_outlook

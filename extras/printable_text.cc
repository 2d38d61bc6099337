#include "extras/printable_text.h"

#include <algorithm>

#include "base/text.h"

namespace kova::extras {

namespace {

// RFC 854.
constexpr unsigned char kSubnegotiationEnd = 240;
constexpr unsigned char kSubnegotiation = 250;
constexpr unsigned char kWill = 251;
constexpr unsigned char kDont = 254;
constexpr unsigned char kCommandFollows = 255;

unsigned char valueOf(char byte) { return static_cast<unsigned char>(byte); }

/// How many bytes at the end are a UTF-8 character that has only begun.
std::size_t begunCharacter(std::string_view text) {
  for (std::size_t count = 1; count <= std::min<std::size_t>(3, text.size()); ++count) {
    const unsigned char byte = valueOf(text[text.size() - count]);
    if ((byte & 0xC0) == 0x80) continue;
    const std::size_t whole = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    return count < whole ? count : 0;
  }
  return 0;
}

/// One line, its "\n" included: UTF-8, without controls.
void appendLine(std::string& text, std::string_view line) {
  const std::string readable = base::toUtf8(line);
  for (std::size_t at = 0; at < readable.size(); ++at) {
    const unsigned char byte = valueOf(readable[at]);
    const bool control = (byte < 0x20 && byte != '\t' && byte != '\n') || byte == 0x7F;
    // U+0080 to U+009F.
    const bool second = byte == 0xC2 && at + 1 < readable.size() && valueOf(readable[at + 1]) < 0xA0;
    if (second) ++at;
    if (!control && !second) text += readable[at];
  }
}

}  // namespace

std::string PrintableText::add(std::string_view piece) {
  for (const char byte : piece) take(byte);
  std::string begun = bytes_.substr(bytes_.size() - begunCharacter(bytes_));
  bytes_.resize(bytes_.size() - begun.size());
  std::string text;
  for (std::string_view rest = bytes_; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    const std::size_t length = std::min(line.size() + 1, rest.size());
    appendLine(text, rest.substr(0, length));
    rest.remove_prefix(length);
  }
  bytes_ = std::move(begun);
  return text;
}

void PrintableText::take(char byte) {
  const unsigned char value = valueOf(byte);
  switch (stage_) {
    case Stage::kText:
      if (value == kCommandFollows) {
        stage_ = Stage::kCommand;
      } else if (byte == '\r') {
        bytes_ += '\n';
      } else if (byte != '\n' || !afterReturn_) {
        bytes_ += byte;
      }
      afterReturn_ = byte == '\r';
      return;
    case Stage::kCommand:
      stage_ = Stage::kText;
      // Twice, it is the byte itself.
      if (value == kCommandFollows) bytes_ += byte;
      if (value >= kWill && value <= kDont) stage_ = Stage::kOption;
      if (value == kSubnegotiation) stage_ = Stage::kParameters;
      parameters_ = 0;
      return;
    case Stage::kOption:
      stage_ = Stage::kText;
      return;
    case Stage::kParameters:
      if (value == kCommandFollows) stage_ = Stage::kParametersCommand;
      if (++parameters_ >= kMostParameters) stage_ = Stage::kText;
      return;
    case Stage::kParametersCommand:
      stage_ = value == kSubnegotiationEnd ? Stage::kText : Stage::kParameters;
      return;
  }
}

std::string printableText(std::string_view text) { return PrintableText().add(text); }

}  // namespace kova::extras

#include "platform/local_outlook/mail_text.h"

#include <gmime/gmime.h>

#include <memory>
#include <string_view>

#include "base/text.h"
#include "platform/local_outlook/content_line.h"
#include "platform/local_outlook/html_text.h"
#include "platform/local_outlook/read_file.h"

namespace kova::platform::local_outlook {
namespace {

constexpr std::size_t kMaxHeader = std::size_t{256} << 10;
// The text stands in front of the attachments; what lies behind this much is not looked at.
constexpr std::size_t kMaxMessage = std::size_t{64} << 20;
constexpr int kMaxDepth = 50;

template <typename T>
struct Unref {
  void operator()(T* object) const { g_object_unref(object); }
};
template <typename T>
using ObjectPtr = std::unique_ptr<T, Unref<T>>;

struct FreeOptions {
  void operator()(GMimeParserOptions* options) const { g_mime_parser_options_free(options); }
};

ObjectPtr<GMimeMessage> parseMessage(std::string_view bytes) {
  const ObjectPtr<GMimeStream> stream(g_mime_stream_mem_new_with_buffer(bytes.data(), bytes.size()));
  const ObjectPtr<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
  const std::unique_ptr<GMimeParserOptions, FreeOptions> options(g_mime_parser_options_new());
  // Headers with bare 8-bit bytes: UTF-8, else what mail programs of old wrote.
  const char* charsets[] = {"utf-8", "iso-8859-1", nullptr};
  g_mime_parser_options_set_fallback_charsets(options.get(), charsets);
  return ObjectPtr<GMimeMessage>(g_mime_parser_construct_message(parser.get(), options.get()));
}

std::string_view headerOf(std::string_view message) {
  for (std::size_t at = 0; at < message.size();) {
    const auto end = message.find('\n', at);
    if (end == std::string_view::npos) return message;
    const std::size_t length = end - at;
    if (length == 0 || (length == 1 && message[at] == '\r')) return message.substr(0, at);
    at = end + 1;
  }
  return message;
}

/// How deep parts lie in parts, as the boundaries of the text have it at most. The library takes a message
/// apart by calling itself for every level.
bool nestsTooDeep(std::string_view message) {
  constexpr std::size_t kMaxBoundaries = 100;
  std::size_t boundaries = 0;
  for (std::size_t at = 0; (at = message.find_first_of("bBmM", at)) != std::string_view::npos; ++at) {
    if (base::asciiLower(message.substr(at, 9)) == "boundary=" ||
        base::asciiLower(message.substr(at, 15)) == "message/rfc822\r" ||
        base::asciiLower(message.substr(at, 15)) == "message/rfc822\n") {
      if (++boundaries > kMaxBoundaries) return true;
    }
  }
  return false;
}

struct TextParts {
  GMimeTextPart* plain = nullptr;
  GMimeTextPart* html = nullptr;
};

void findTexts(GMimeObject* part, TextParts& found, int depth) {
  if (part == nullptr || depth > kMaxDepth || found.plain != nullptr) return;
  if (GMIME_IS_MULTIPART(part)) {
    auto* const parts = GMIME_MULTIPART(part);
    const int count = g_mime_multipart_get_count(parts);
    for (int i = 0; i < count; ++i) findTexts(g_mime_multipart_get_part(parts, i), found, depth + 1);
    return;
  }
  if (!GMIME_IS_TEXT_PART(part)) return;
  if (g_mime_part_is_attachment(GMIME_PART(part))) return;
  GMimeContentType* const type = g_mime_object_get_content_type(part);
  if (g_mime_content_type_is_type(type, "text", "plain"))
    found.plain = GMIME_TEXT_PART(part);
  else if (found.html == nullptr && g_mime_content_type_is_type(type, "text", "html"))
    found.html = GMIME_TEXT_PART(part);
}

std::string textOfPart(GMimeTextPart* part) {
  const std::unique_ptr<char, void (*)(gpointer)> text(g_mime_text_part_get_text(part), &g_free);
  if (text == nullptr) return {};
  const std::string_view bytes(text.get());
  return base::validUtf8(bytes) ? std::string(bytes) : base::toUtf8(bytes);
}

}  // namespace

std::string readSubject(const std::string& path) {
  const FileBytes file = readStart(path, kMaxHeader);
  if (!file.ok()) return {};
  std::string header(headerOf(file.bytes));
  header += "\n\n";
  const auto message = parseMessage(header);
  const char* const subject = message ? g_mime_message_get_subject(message.get()) : nullptr;
  if (subject == nullptr) return {};
  std::string text = base::validUtf8(subject) ? std::string(subject) : base::toUtf8(subject);
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';  // an encoded line end
  return std::string(base::trim(text));
}

std::string readBody(const std::string& path) {
  const FileBytes file = readStart(path, kMaxMessage);
  if (!file.ok() || nestsTooDeep(file.bytes)) return {};
  const auto message = parseMessage(file.bytes);
  if (!message) return {};
  TextParts parts;
  findTexts(g_mime_message_get_mime_part(message.get()), parts, 0);
  if (parts.plain != nullptr) return withCrLf(textOfPart(parts.plain));
  if (parts.html != nullptr) return textOfHtml(textOfPart(parts.html));
  return {};
}

}  // namespace kova::platform::local_outlook

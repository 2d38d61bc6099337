#include "platform/local_outlook/content_line.h"

#include "base/text.h"

namespace kova::platform::local_outlook {
namespace {

constexpr std::size_t kLineOctets = 75;

std::string asciiUpper(std::string_view text) {
  std::string upper(text);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return upper;
}

bool isQuotedPrintable(std::string_view line) {
  const auto colon = line.find(':');
  return colon != std::string_view::npos &&
         asciiUpper(line.substr(0, colon)).find("QUOTED-PRINTABLE") != std::string::npos;
}

}  // namespace

std::string withCrLf(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    if (text[i] == '\r' || text[i] == '\n')
      result += "\r\n";
    else
      result += text[i];
  }
  return result;
}

FirstLine splitFirstLine(std::string_view text) {
  const auto end = text.find_first_of("\r\n");
  if (end == std::string_view::npos) return {text, {}};
  const std::size_t length = text.substr(end).starts_with("\r\n") ? 2 : 1;
  return {text.substr(0, end), text.substr(end + length)};
}

std::string escapedText(std::string_view raw) {
  const std::string text = base::validUtf8(raw) ? std::string(raw) : base::toUtf8(raw);
  std::string value;
  value.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      value += "\\n";
    } else if (c == '\\' || c == ';' || c == ',') {
      value += '\\';
      value += c;
    } else if (c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7f)) {
      value += c;
    }
  }
  return value;
}

std::string unescapedText(std::string_view value) {
  std::string text;
  text.reserve(value.size());
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      text += value[i];
      continue;
    }
    const char c = value[++i];
    if (c == 'n' || c == 'N')
      text += "\r\n";
    else if (c == '\\' || c == ',' || c == ';' || c == ':')
      text += c;
    else
      text.append(1, '\\').append(1, c);
  }
  return text;
}

std::vector<std::string_view> splitValue(std::string_view value, char separator) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '\\') {
      ++i;
    } else if (value[i] == separator) {
      parts.push_back(value.substr(start, i - start));
      start = i + 1;
    }
  }
  parts.push_back(value.substr(start));
  return parts;
}

std::string contentText(const std::string& bytes) {
  if (base::validUtf8(bytes)) return bytes;
  std::string unfolded;
  unfolded.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == '\r' || bytes[i] == '\n') {
      const std::size_t next = i + (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n' ? 2 : 1);
      if (next < bytes.size() && (bytes[next] == ' ' || bytes[next] == '\t')) {
        i = next;
        continue;
      }
    }
    unfolded += bytes[i];
  }
  return base::toUtf8(unfolded);
}

void appendContentLine(std::string& to, std::string_view name, std::string_view value) {
  std::string line;
  line.reserve(name.size() + 1 + value.size());
  line.append(name).append(1, ':').append(value);
  std::size_t room = kLineOctets;
  std::string_view rest = line;
  while (rest.size() > room) {
    std::size_t cut = room;
    while (cut > 1 && (static_cast<unsigned char>(rest[cut]) & 0xC0) == 0x80) --cut;
    to.append(rest.substr(0, cut)).append("\r\n ");
    rest.remove_prefix(cut);
    room = kLineOctets - 1;
  }
  to.append(rest).append("\r\n");
}

std::optional<ContentLine> parseContentLine(std::string_view line) {
  std::size_t at = 0;
  const auto takeUntil = [&](std::string_view stops) {
    std::string word;
    bool quoted = false;
    for (; at < line.size(); ++at) {
      if (line[at] == '"')
        quoted = !quoted;
      else if (!quoted && stops.find(line[at]) != std::string_view::npos)
        break;
      else
        word += line[at];
    }
    return word;
  };

  ContentLine result;
  std::string name = takeUntil(";:");
  if (const auto dot = name.rfind('.'); dot != std::string::npos) name.erase(0, dot + 1);
  result.name = asciiUpper(base::trim(name));
  if (result.name.empty()) return std::nullopt;
  while (at < line.size() && line[at] == ';') {
    ++at;
    ContentLine::Parameter parameter;
    std::string word = takeUntil("=;:");
    if (at < line.size() && line[at] == '=') {
      ++at;
      parameter.name = asciiUpper(base::trim(word));
      parameter.value = takeUntil(";:");
    } else {
      parameter.name = "TYPE";
      parameter.value = std::move(word);
    }
    result.parameters.push_back(std::move(parameter));
  }
  if (at >= line.size()) return std::nullopt;
  result.value = line.substr(at + 1);
  return result;
}

std::string_view ContentLines::takePhysicalLine() {
  const auto end = rest_.find_first_of("\r\n");
  if (end == std::string_view::npos) {
    const std::string_view line = rest_;
    rest_ = {};
    return line;
  }
  const std::string_view line = rest_.substr(0, end);
  rest_.remove_prefix(end + (rest_.substr(end).starts_with("\r\n") ? 2 : 1));
  return line;
}

bool ContentLines::next(std::string& line) {
  line.clear();
  while (line.empty()) {
    if (rest_.empty()) return false;
    line = takePhysicalLine();
  }
  if (line.ends_with('=') && isQuotedPrintable(line)) {
    while (line.ends_with('=') && !rest_.empty()) {
      line.pop_back();
      line += takePhysicalLine();
    }
    return true;
  }
  while (!rest_.empty() && (rest_.front() == ' ' || rest_.front() == '\t')) {
    rest_.remove_prefix(1);
    line += takePhysicalLine();
  }
  return true;
}

}  // namespace kova::platform::local_outlook

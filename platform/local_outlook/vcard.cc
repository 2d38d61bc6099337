#include "platform/local_outlook/vcard.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "base/text.h"
#include "platform/local_outlook/content_line.h"
#include "platform/local_outlook/item_kinds.h"
#include "platform/local_outlook/person_name.h"
#include "platform/local_outlook/utc_text.h"

namespace kova::platform::local_outlook {
namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

/// Decodes pairs of hexadecimal digits behind `mark`: "=" of quoted-printable, "%" of a URI.
std::string decodeHexPairs(std::string_view text, char mark) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == mark && i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
    const int low = high >= 0 ? hexDigit(text[i + 2]) : -1;
    if (low >= 0) {
      result += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

std::string fromCharset(const std::string& bytes, const std::string& charset) {
  const std::string known = base::asciiLower(charset);
  if (!known.empty() && known != "utf-8" && known != "utf8") {
    gsize length = 0;
    const std::unique_ptr<char, void (*)(gpointer)> converted(
        g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8", known.c_str(), nullptr, &length,
                  nullptr),
        &g_free);
    if (converted) return {converted.get(), length};
  }
  return base::validUtf8(bytes) ? bytes : base::toUtf8(bytes);
}

struct Types {
  bool home = false, work = false, cell = false, fax = false, pager = false, preferred = false;
  bool isUri = false, isQuotedPrintable = false, isBinary = false;
  std::string charset;
};

Types typesOf(const ContentLine& line) {
  Types types;
  for (const auto& [name, value] : line.parameters) {
    const std::string lower = base::asciiLower(value);
    if (name == "CHARSET") types.charset = value;
    if (name == "VALUE") types.isUri = lower == "uri";
    if (name == "PREF") types.preferred = lower == "1";
    if (name == "ENCODING" || name == "TYPE") {
      if (lower == "quoted-printable") types.isQuotedPrintable = true;
      if (lower == "base64" || (name == "ENCODING" && lower == "b")) types.isBinary = true;
    }
    if (name != "TYPE") continue;
    for (std::string_view rest = lower; !rest.empty();) {
      const auto comma = std::min(rest.find(','), rest.size());
      const std::string_view word = base::trim(rest.substr(0, comma));
      rest.remove_prefix(std::min(comma + 1, rest.size()));
      if (word == "home") types.home = true;
      if (word == "work" || word == "main") types.work = true;
      if (word == "cell" || word == "mobile" || word == "iphone" || word == "car") types.cell = true;
      if (word == "fax" || word == "facsimile") types.fax = true;
      if (word == "pager") types.pager = true;
      if (word == "pref") types.preferred = true;
    }
  }
  return types;
}

std::string phoneOf(std::string value) {
  if (base::asciiLower(value).starts_with("tel:")) {
    value = decodeHexPairs(std::string_view(value).substr(4), '%');
    const auto parameters = value.find(';');
    if (parameters != std::string::npos) {
      const std::string rest = value.substr(parameters);
      value.erase(parameters);
      if (const auto extension = rest.find(";ext="); extension != std::string::npos)
        value += " ext. " + rest.substr(extension + 5, rest.find(';', extension + 1) - extension - 5);
    }
  }
  return value;
}

/// One of several values of a kind; the one that the card prefers counts, else the first.
class Preferred {
 public:
  void offer(std::string value, bool preferred) {
    if (value.empty() || (!value_.empty() && (!preferred || preferred_))) return;
    value_ = std::move(value);
    preferred_ = preferred;
  }
  const std::string& value() const { return value_; }

 private:
  std::string value_;
  bool preferred_ = false;
};

class CardReader {
 public:
  void take(const ContentLine& line) {
    constexpr std::array<std::string_view, 12> kKnown = {
        "N", "FN", "TITLE", "ORG", "TEL", "URL", "EMAIL", "REV", "CREATED", "X-CREATED", "KIND", "NICKNAME"};
    if (std::ranges::find(kKnown, line.name) == kKnown.end()) return;
    const Types types = typesOf(line);
    if (types.isBinary) return;
    std::string value = types.isQuotedPrintable ? decodeHexPairs(line.value, '=') : std::string(line.value);
    if (types.isQuotedPrintable || !base::validUtf8(value)) value = fromCharset(value, types.charset);

    if (line.name == "N" && !hasName_) {
      hasName_ = true;
      const auto parts = splitValue(value, ';');
      std::array<std::string*, 5> into = {&name_.last, &name_.first, &name_.middle, &name_.prefix,
                                          &name_.suffix};
      for (std::size_t i = 0; i < parts.size() && i < into.size(); ++i) *into[i] = listText(parts[i]);
    } else if (line.name == "FN") {
      fullName_.offer(oneLine(value), types.preferred);
    } else if (line.name == "TITLE") {
      jobTitle_.offer(oneLine(value), types.preferred);
    } else if (line.name == "ORG") {
      company_.offer(oneLine(splitValue(value, ';').front()), types.preferred);
    } else if (line.name == "URL") {
      webPage_.offer(oneLine(value), types.preferred);
    } else if (line.name == "EMAIL") {
      email_.offer(oneLine(value), types.preferred);
    } else if (line.name == "TEL") {
      std::string phone = phoneOf(oneLine(value));
      if (!phone.empty()) phones_.push_back({std::move(phone), types});
    } else if (line.name == "CREATED" || line.name == "X-CREATED") {
      created_ = parseUtcText(value);
    } else if (line.name == "REV") {
      revised_ = parseUtcText(value);
    }
  }

  ReadCard finish() {
    if (name_.last.empty() && name_.first.empty()) {
      // A card need not have its name in parts.
      const PersonName split = splitFullName(fullName_.value());
      listName_ = fullName_.value();
      name_.last = split.last;
      name_.first = split.first;
      if (name_.prefix.empty()) name_.prefix = split.prefix;
    } else {
      listName_ = lastNameAndFirstName(name_.last, name_.first);
    }
    TextFields fields;
    fields.add(TextProperty::kLastNameAndFirstName, listName_);  // first: searches read nothing else
    fields.add(TextProperty::kLastName, name_.last);
    fields.add(TextProperty::kFirstName, name_.first);
    fields.add(TextProperty::kFullName, fullName_.value().empty() ? writtenName() : fullName_.value());
    fields.add(TextProperty::kJobTitle, jobTitle_.value());
    fields.add(TextProperty::kTitle, name_.prefix);
    fields.add(TextProperty::kCompanyName, company_.value());
    fields.add(TextProperty::kWebPage, webPage_.value());
    fields.add(TextProperty::kEmail1Address, email_.value());
    addPhones(fields);
    ReadCard card;
    card.contact = Contact::make(fields);
    const auto added = created_ ? created_ : revised_;
    if (added) card.added = *added * 1'000'000;
    return card;
  }

 private:
  struct Phone {
    std::string number;
    Types types;
  };

  static std::string oneLine(std::string_view value) {
    std::string text = base::replaceAll(unescapedText(value), "\r\n", " ");
    for (char& c : text)
      if (c == '\r' || c == '\n') c = ' ';
    return std::string(base::trim(text));
  }

  static std::string listText(std::string_view value) {
    std::string text;
    for (const std::string_view part : splitValue(value, ',')) {
      const std::string word = oneLine(part);
      if (!text.empty() && !word.empty()) text += ' ';
      text += word;
    }
    return text;
  }

  std::string writtenName() const {
    std::string text;
    for (const std::string* part : {&name_.prefix, &name_.first, &name_.middle, &name_.last, &name_.suffix}) {
      if (!text.empty() && !part->empty()) text += ' ';
      text += *part;
    }
    return text;
  }

  void addPhones(TextFields& fields) {
    std::ranges::stable_sort(phones_, {}, [](const Phone& phone) { return !phone.types.preferred; });
    std::string business, fax, home, home2, mobile, pager;
    std::vector<const Phone*> untyped;
    const auto put = [](std::string& to, const Phone& phone) {
      if (to.empty()) to = phone.number;
    };
    for (const Phone& phone : phones_) {
      const Types& types = phone.types;
      if (types.fax) {
        if (!types.home || types.work) put(fax, phone);
      } else if (types.pager) {
        put(pager, phone);
      } else if (types.cell) {
        put(mobile, phone);
      } else if (types.work) {
        put(business, phone);
      } else if (types.home) {
        put(home.empty() ? home : home2, phone);
      } else {
        untyped.push_back(&phone);
      }
    }
    // A number that says nothing of itself must not get lost.
    for (const Phone* phone : untyped) put(business.empty() ? business : home.empty() ? home : home2, *phone);
    fields.add(TextProperty::kBusinessTelephoneNumber, business);
    fields.add(TextProperty::kBusinessFaxNumber, fax);
    fields.add(TextProperty::kHomeTelephoneNumber, home);
    fields.add(TextProperty::kHome2TelephoneNumber, home2);
    fields.add(TextProperty::kMobileTelephoneNumber, mobile);
    fields.add(TextProperty::kPagerNumber, pager);
  }

  bool hasName_ = false;
  PersonName name_;
  std::string listName_;
  Preferred fullName_, jobTitle_, company_, webPage_, email_;
  std::vector<Phone> phones_;
  std::optional<std::int64_t> created_, revised_;
};

bool isLine(const ContentLine& line, std::string_view name) {
  return line.name == name && base::asciiLower(base::trim(line.value)) == "vcard";
}

}  // namespace

std::shared_ptr<const Contact> Contact::make(const TextFields& fields) {
  const std::string_view texts = fields.packed();
  void* const memory = ::operator new(sizeof(Contact) + texts.size());
  // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): owned by the result
  auto* const contact = new (memory) Contact(texts.size());
  std::memcpy(static_cast<char*>(memory) + sizeof(Contact), texts.data(), texts.size());
  return {contact, &Contact::destroy};
}

void Contact::destroy(const Contact* contact) {
  contact->~Contact();
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast): make() has allocated it
  ::operator delete(const_cast<Contact*>(contact));
}

std::optional<std::string> Contact::text(TextProperty property) const {
  if (!contactHas(property)) return std::nullopt;
  return std::string(TextFields::find({reinterpret_cast<const char*>(this + 1), size_}, property));
}

ReadCards readCards(std::string_view bytes) {
  ReadCards result;
  std::optional<CardReader> card;
  int nested = 0;  // a card within a card: the agent of somebody (vCard 2.1)
  bool agentFollows = false;
  std::string unfolded;
  ContentLines lines(bytes);
  bool any = false;
  while (lines.next(unfolded)) {
    const auto line = parseContentLine(unfolded);
    if (!line) continue;
    if (isLine(*line, "BEGIN")) {
      any = true;
      if (card && agentFollows) {
        ++nested;
      } else {
        if (card) ++result.broken;
        card.emplace();
        nested = 0;
      }
    } else if (isLine(*line, "END")) {
      if (nested > 0) {
        --nested;
      } else if (card) {
        result.cards.push_back(card->finish());
        card.reset();
      }
    } else if (card && nested == 0) {
      card->take(*line);
    }
    agentFollows = line->name == "AGENT" && base::trim(line->value).empty();
  }
  if (card) ++result.broken;
  result.none = !any;
  return result;
}

std::string writeCard(const TextFields& fields, std::string_view uid, std::int64_t now) {
  const std::string fullName(fields.get(TextProperty::kFullName));
  PersonName name = splitFullName(base::replaceAll(base::replaceAll(fullName, "\r", " "), "\n", " "));
  if (const auto last = fields.get(TextProperty::kLastName); !last.empty()) name.last = last;
  if (const auto first = fields.get(TextProperty::kFirstName); !first.empty()) name.first = first;
  if (const auto title = fields.get(TextProperty::kTitle); !title.empty()) name.prefix = title;

  std::string written;
  for (const std::string* part : {&name.prefix, &name.first, &name.middle, &name.last, &name.suffix}) {
    if (!written.empty() && !part->empty()) written += ' ';
    written += *part;
  }
  std::string structured;
  for (const std::string* part : {&name.last, &name.first, &name.middle, &name.prefix, &name.suffix}) {
    if (part != &name.last) structured += ';';
    structured += escapedText(*part);
  }

  std::string card = "BEGIN:VCARD\r\nVERSION:3.0\r\nPRODID:-//Tarvel//KOVA WAP 1.7//EN\r\n";
  appendContentLine(card, "UID", uid);
  appendContentLine(card, "N", structured);
  appendContentLine(card, "FN", escapedText(fullName.empty() ? written : fullName));
  const auto put = [&](std::string_view property, TextProperty from) {
    if (const auto value = fields.get(from); !value.empty())
      appendContentLine(card, property, escapedText(value));
  };
  put("TITLE", TextProperty::kJobTitle);
  put("ORG", TextProperty::kCompanyName);
  put("TEL;TYPE=WORK,VOICE", TextProperty::kBusinessTelephoneNumber);
  put("TEL;TYPE=WORK,FAX", TextProperty::kBusinessFaxNumber);
  put("TEL;TYPE=HOME,VOICE", TextProperty::kHomeTelephoneNumber);
  put("TEL;TYPE=HOME,VOICE", TextProperty::kHome2TelephoneNumber);
  put("TEL;TYPE=CELL", TextProperty::kMobileTelephoneNumber);
  put("TEL;TYPE=PAGER", TextProperty::kPagerNumber);
  put("EMAIL;TYPE=INTERNET", TextProperty::kEmail1Address);
  if (std::string url(fields.get(TextProperty::kWebPage)); !url.empty()) {
    std::erase_if(url, [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7f; });
    appendContentLine(card, "URL", base::toUtf8(url));  // a URI, which has no escapes
  }
  appendContentLine(card, "REV", utcText(now));
  appendContentLine(card, "X-CREATED", utcText(now));
  card += "END:VCARD\r\n";
  return card;
}

}  // namespace kova::platform::local_outlook

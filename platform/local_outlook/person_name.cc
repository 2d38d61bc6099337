#include "platform/local_outlook/person_name.h"

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "base/text.h"

namespace kova::platform::local_outlook {
namespace {

using Words = std::span<const std::string_view>;

constexpr std::array<std::string_view, 20> kPrefixes = {
    "dr",   "prof", "professor", "mr",  "mrs",  "ms",   "miss",   "mx",  "sir",      "dame",
    "lord", "lady", "rev",       "hon", "herr", "frau", "madame", "mme", "monsieur", "dipl-ing"};
constexpr std::array<std::string_view, 13> kSuffixes = {"jr", "sr",  "ii",  "iii", "iv",  "v",  "phd",
                                                        "md", "dds", "esq", "mba", "cpa", "msc"};
// Words that begin a last name when another word follows.
constexpr std::array<std::string_view, 27> kParticles = {
    "van", "von", "vom", "der", "den", "de",  "del", "della", "di",  "da", "dal", "dos", "das", "do",
    "du",  "des", "la",  "le",  "ten", "ter", "zu",  "zum",   "zur", "af", "av",  "bin", "ibn"};

/// The word in lower case, without the dots and a comma.
std::string bare(std::string_view word) {
  std::string result = base::asciiLower(word);
  std::erase_if(result, [](char c) { return c == '.' || c == ','; });
  return result;
}

template <std::size_t kCount>
bool isOneOf(std::string_view word, const std::array<std::string_view, kCount>& words) {
  return std::ranges::find(words, bare(word)) != words.end();
}

std::vector<std::string_view> wordsOf(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  std::vector<std::string_view> words;
  for (;;) {
    const auto start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return words;
    const auto end = std::min(text.find_first_of(kBlanks, start), text.size());
    words.push_back(text.substr(start, end - start));
    text.remove_prefix(end);
  }
}

std::string joined(Words words) {
  std::string result;
  for (const std::string_view word : words) {
    if (!result.empty()) result += ' ';
    result += word;
  }
  return result;
}

Words takePrefix(Words words, PersonName& name) {
  std::size_t count = 0;
  while (count + 1 < words.size() && isOneOf(words[count], kPrefixes)) ++count;
  name.prefix = joined(words.first(count));
  return words.subspan(count);
}

Words takeSuffix(Words words, PersonName& name) {
  std::size_t count = 0;
  while (count + 2 < words.size() && isOneOf(words[words.size() - 1 - count], kSuffixes)) ++count;
  if (count > 0) name.suffix = joined(words.last(count));
  return words.first(words.size() - count);
}

void takeGivenNames(Words words, PersonName& name) {
  if (words.empty()) return;
  name.first = words.front();
  name.middle = joined(words.subspan(1));
}

bool areSuffixes(Words words) {
  return !words.empty() &&
         std::ranges::all_of(words, [](std::string_view word) { return isOneOf(word, kSuffixes); });
}

}  // namespace

PersonName splitFullName(std::string_view fullName) {
  PersonName name;
  if (const auto comma = fullName.find(','); comma != std::string_view::npos) {
    const auto behind = wordsOf(fullName.substr(comma + 1));
    if (!areSuffixes(behind)) {
      const auto before = wordsOf(fullName.substr(0, comma));
      name.last = joined(takePrefix(before, name));
      PersonName given;
      takeGivenNames(takePrefix(behind, given), given);
      name.first = given.first;
      name.middle = given.middle;
      if (name.prefix.empty()) name.prefix = given.prefix;
      return name;
    }
    name.suffix = joined(behind);
    fullName = fullName.substr(0, comma);
  }

  const auto all = wordsOf(fullName);
  Words words = takeSuffix(takePrefix(all, name), name);
  if (words.empty()) return name;
  if (words.size() == 1) {
    (name.prefix.empty() ? name.first : name.last) = words.front();
    return name;
  }
  std::size_t last = 1;
  while (last + 1 < words.size() && !isOneOf(words[last], kParticles)) ++last;
  // "van der Berg" alone is a last name, "Van Morrison" is not.
  if (words.size() > 2 && isOneOf(words[0], kParticles) && isOneOf(words[1], kParticles)) last = 0;
  name.last = joined(words.subspan(last));
  takeGivenNames(words.first(last), name);
  return name;
}

std::string lastNameAndFirstName(std::string_view last, std::string_view first) {
  std::string result(last);
  if (!last.empty() && !first.empty()) result += ", ";
  return result.append(first);
}

}  // namespace kova::platform::local_outlook

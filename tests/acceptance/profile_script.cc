// profile_script FILE: makes the same calls on a settings file wherever it runs, and prints what they answer,
// one line each. Built for two systems, both must print the same.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <string>
#include <string_view>

#include "platform/machine.h"
#include "platform/profile_file.h"

namespace {

using kova::platform::ProfileFile;

std::string visible(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code >= ' ' && code < 127 && c != '\\') {
      out += c;
      continue;
    }
    std::array<char, 5> escaped{};
    std::snprintf(escaped.data(), escaped.size(), "\\x%02x", code);
    out += escaped.data();
  }
  return out;
}

class Script {
 public:
  Script(ProfileFile& profile, std::string path) : profile_(profile), path_(std::move(path)) {}

  /// Each step on a file of its own name: a system may keep the last one in memory.
  void put(std::string_view content) {
    std::remove(name_.c_str());
    name_ = path_ + "-" + std::to_string(++files_) + ".ini";
    std::ofstream(name_, std::ios::binary) << content;
    std::cout << "file " << visible(content) << "\n";
  }
  void read(const std::string& section, const std::string& key, std::size_t size = 255) {
    std::cout << "read [" << visible(section) << "] " << visible(key) << " " << size << ": "
              << visible(profile_.read(section, key, "blank", size, name_)) << "|\n";
  }
  void write(const std::string& section, const std::string& key, const std::string& value) {
    const bool written = profile_.write(section, key, value, name_);
    std::cout << "write [" << visible(section) << "] " << visible(key) << "=" << visible(value) << ": "
              << (written ? "done" : "refused") << "\n";
  }
  void end() { std::remove(name_.c_str()); }

 private:
  ProfileFile& profile_;
  std::string path_;
  std::string name_;
  int files_ = 0;
};

void readWhatAPersonWrote(Script& script) {
  const char* const files[] = {
      "[Main]\r\nkey=value\r\n",
      "[mAIN]\r\nKEY=value\r\n",
      "[Main]\nkey=value",
      "\t[ Main ] \r\n \tkey \t= \tva lue \t\r\n",
      "[Main]\r\nkey= \"value\" \r\n",
      "[Main]\r\nkey=' value '\r\n",
      "[Main]\r\nkey=\"\"value\"\"\r\n",
      "[Main]\r\nkey=\"value'\r\n",
      "[Main]\r\nkey=\"\r\n",
      "[Main]\r\nkey=a=b\r\n",
      "[Main]\r\nkey=\r\n",
      "[Main]\r\n;key=value\r\n",
      "[Main]\r\nkey=value ; no comment\r\n",
      "key=none\r\n[Main]\r\n",
      "[Main]\r\na=1\r\n[Pager]\r\nkey=2\r\n",
      "[Main]\r\nkey=1\r\nkey=2\r\n",
      "[Other\r\nkey=1\r\n[Main]\r\nkey=2\r\n",
      "\xEF\xBB\xBF[Main]\r\nkey=value\r\n",
      "\r\n\r\n[Main]\r\n\r\n\r\nkey=value\r\n",
      "",
  };
  for (const char* const file : files) {
    script.put(file);
    script.read("Main", "key");
    script.read("main", "KEY");
    script.read("Pager", "key");
  }
}

void cutWhatIsLong(Script& script) {
  script.put("");
  for (const std::size_t length : {253, 254, 255, 256, 1000}) {
    script.write("Main", "key", std::string(length, 'v'));
    for (const std::size_t size : {1, 2, 255, 2000}) script.read("Main", "key", size);
  }
  for (const std::size_t size : {1, 3, 6}) script.read("Main", "absent", size);
}

void writeIntoWhatIsThere(Script& script) {
  const char* const files[] = {
      "",
      "[Main]\r\nkey=1\r\n",
      "[main]\r\n Key = 1\r\n",
      "[Main]\r\na=1\r\nkey=1\r\nkey=2\r\n",
      "[Main]\r\na=1",
      "[Main]",
      "[Main]\r\na=1\r\n\r\n\r\n[Pager]\r\nx=1\r\n",
      "[Main]\r\n[Pager]\r\nkey=1\r\n",
      "junk\r\n[Main]\r\n;key=1\r\n what\r\n",
  };
  for (const char* const file : files) {
    script.put(file);
    for (const char* const value : {"2", "", " x ", "x\r\nPIN=2", "\"quoted\"", "a;b", "[Pager]"}) {
      script.write("Main", "key", value);
      for (const char* const section : {"Main", "Pager"})
        for (const char* const key : {"key", "a", "x", "PIN"}) script.read(section, key);
    }
  }
  script.put("[Main]\r\nPIN=1\r\n");
  for (const char* const key : {"", " ", "PIN=", "a=b", ";a", " [a]"}) script.write("Main", key, "2");
  script.read("Main", "PIN");
}

void manyAtRandom(Script& script) {
  std::mt19937 random(4711);
  const auto pick = [&random](std::size_t count) { return random() % count; };
  constexpr std::string_view kLetters = "abc =;[]'\"\t\r\n.,:/\\%&<>";
  const char* const sections[] = {"Main", "main", "Pager", "PAGER", "Odd name"};
  const char* const keys[] = {"a", "A", "b", "Key_1", "KEY_1", "c d"};
  script.put("; mine\r\n\r\nloose\r\n[Other]\r\na=kept\r\n");
  for (int round = 0; round < 400; ++round) {
    std::string value;
    for (std::size_t length = pick(12); length > 0; --length) value += kLetters[pick(kLetters.size())];
    script.write(sections[pick(std::size(sections))], keys[pick(std::size(keys))], value);
    for (int i = 0; i < 4; ++i) script.read(sections[pick(std::size(sections))], keys[pick(std::size(keys))]);
    script.read("Other", "a");
  }
}

void beyondAscii(Script& script) {
  script.put("[Main]\r\n");
  // What every code page of western Europe has.
  for (const char* const value : {"\xC3\xA4\xC3\xB6\xC3\xBC",
                                  "Stra\xC3\x9F"
                                  "e",
                                  "\xC3\x89t\xC3\xA9"}) {
    script.write("Main", "key", value);
    script.read("Main", "key");
  }
}

}  // namespace

int main(int argc, char** argv) {
  kova::platform::prepareProcess();
  const auto arguments = kova::platform::programArguments(argc, argv);
  if (arguments.size() != 1) {
    std::cerr << "usage: profile_script FILE\n";
    return EXIT_FAILURE;
  }
  const auto machine = kova::platform::makeMachine();
  Script script(machine->profileFile(), arguments[0]);
  readWhatAPersonWrote(script);
  cutWhatIsLong(script);
  writeIntoWhatIsThere(script);
  manyAtRandom(script);
  beyondAscii(script);
  script.end();
  return EXIT_SUCCESS;
}

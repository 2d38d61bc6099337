#pragma once

#include <string>

#include "platform/local_outlook/local_outlook.h"

namespace kova::bench {

struct Sizes {
  int appointments = 100'000;
  int endlessSeries = 1'000;  ///< of them
  int contacts = 50'000;
  int messages = 20'000;
};

/// Makes the folders of a busy owner below `root`, one file per item. Does nothing where they are already.
platform::local_outlook::Folders makeSampleData(const std::string& root, const Sizes& sizes);

}  // namespace kova::bench

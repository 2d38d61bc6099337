#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/options.h"

namespace kova::app {

inline constexpr int kCannotStart = 1;
inline constexpr int kBadOption = 2;

/// What the command line asks for, and the program's folder, which is now the current one.
struct Start {
  Options options;
  std::string home;
};

/// What a program does first. Empty when it is to end at once with `exitCode`: the user has been told what
/// he wanted to know, or what is wrong. `program` is its name for him.
std::optional<Start> start(const std::string& program, const std::vector<std::string>& arguments,
                           int& exitCode);

}  // namespace kova::app

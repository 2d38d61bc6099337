#pragma once

#include <gtest/gtest.h>

#include <string>

#include "fakes/fake_processes.h"
#include "fakes/fake_profile_file.h"
#include "settings/settings.h"

namespace kova::launch {

/// A settings file with commands and a machine to start them on.
class LaunchTest : public ::testing::Test {
 protected:
  /// A key of section Main; "" when it is not there.
  std::string setting(const std::string& key) const {
    const auto found = profile.values.find({"Main", key});
    return found == profile.values.end() ? "" : found->second;
  }
  void set(const std::string& key, const std::string& value) { profile.values[{"Main", key}] = value; }

  fakes::FakeProfileFile profile;
  fakes::FakeProcesses processes;
  settings::Settings settings{"/home/kova", profile, '/'};
};

}  // namespace kova::launch

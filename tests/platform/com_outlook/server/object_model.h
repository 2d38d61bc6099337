#pragma once

#include <windows.h>

#include <oleauto.h>

#include <functional>
#include <string_view>

#include "platform/com_outlook/server/control.h"
#include "platform/outlook.h"

namespace kova::test_outlook {

/// What the objects of the model are made over. Both outlive them.
struct Model {
  platform::outlook::Automation& data;
  const Control& control;
  /// Ends the process.
  std::function<void()> end;
};

/// Takes as long as the order says that `member` hangs.
void hang(const Model& model, std::string_view member);

/// A new Application object with one reference; null when the data cannot be reached.
IDispatch* makeApplication(const Model& model);

}  // namespace kova::test_outlook

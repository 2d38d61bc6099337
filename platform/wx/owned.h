#pragma once

#include <memory>
#include <utility>

namespace kova::platform::wx {

/// A new object for the toolkit, which owns it from here on: a window its parent, a sizer its window.
template <typename T, typename... Arguments>
T* owned(Arguments&&... arguments) {
  return std::make_unique<T>(std::forward<Arguments>(arguments)...).release();
}

}  // namespace kova::platform::wx

// The controls that ui/ itself provides: static pictures, window openers,
// sub-window tabs, number and string fields. The factory enters them into its table at start.
#pragma once

#include <functional>
#include <string_view>

#include "ui/ControlFactory.h"

namespace lh::ui {

void registerStandardControls(const std::function<void(std::string_view, ControlMaker)>& enter);

}  // namespace lh::ui

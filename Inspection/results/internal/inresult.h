#pragma once

#include "Inspection/records/failure.h"

#include <filesystem>
#include <utility>

namespace QELT::Inspection {

/// Runs `action` on what a result's file holds, and puts its name in front of a failure's text.
template <class Action>
auto inResult(std::filesystem::path const& file, Action&& action) -> decltype(action()) {
    try {
        return std::forward<Action>(action)();
    } catch (Failure const& failure) {
        throw Failure(file.string() + ": " + failure.what());
    }
}

} // namespace QELT::Inspection

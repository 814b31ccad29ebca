#pragma once

#include "Inspection/export.h"

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace QELT::Inspection {

/// A failure whose text is fit for the user: one line that says what went wrong with which file or value.
/// What a function of this library says to throw is of this class unless another is named.
class QELT_INSPECTION_EXPORT Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What a progress listener throws to stop the work that tells it how far it has come. It passes through
/// every function of this library unchanged, as do classes derived from it, and no file is left half written.
class QELT_INSPECTION_EXPORT Interrupted : public std::exception {
public:
    char const* what() const noexcept override { return "interrupted"; }
};

/// Throws a `Failure` with this text unless what is required holds.
inline void require(bool isGood, std::string const& complaint) {
    if (!isGood) {
        throw Failure(complaint);
    }
}

/// Runs `action` and puts `subject`, usually a file's name, in front of the text of what it throws. A
/// `Failure` already names its subject and passes unchanged, and so does an interruption.
template <class Action>
auto naming(std::string const& subject, Action&& action) -> decltype(action()) {
    try {
        return std::forward<Action>(action)();
    } catch (Failure const&) {
        throw;
    } catch (Interrupted const&) {
        throw;
    } catch (std::bad_alloc const&) {
        throw Failure(subject + ": not enough memory");
    } catch (std::exception const& error) {
        throw Failure(subject + ": " + error.what());
    }
}

} // namespace QELT::Inspection

#pragma once

#include "Geometry/foundations/export.h"

namespace QELT {

/// What a long operation tells the application while it runs. The application derives from it and attaches
/// an object with `setProgressListener`; the library never owns one, and a null listener means silence.
/// All calls come synchronously from the thread that runs the operation. In any of them the listener may
/// detach itself, and even delete itself: it is not called again, and the operation goes on.
class QELT_EXPORT ProgressListener {
public:
    virtual ~ProgressListener() = default;

    /// A new status text. The characters are valid only during the call.
    virtual void setMessage(char const* text) = 0;

    /// How far the current stage has come, a whole number that normally runs from 1 to 100. Sent only when
    /// it differs from the last number sent, but by an extension of a boundary at every pass.
    virtual void setPercentage(unsigned long percent) = 0;

    /// Two places kept for later use; the library never calls them.
    virtual void reserved3() = 0;
    virtual void reserved4() = 0;
};

} // namespace QELT

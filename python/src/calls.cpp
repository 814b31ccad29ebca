#include "python/src/calls.h"

#include <algorithm>
#include <set>

namespace QELT::Python {

namespace {

/// Read and written with Python's lock held.
std::multiset<void const*>& objectsInUse() {
    static std::multiset<void const*> objects;
    return objects;
}

std::size_t runningCalls = 0;

} // namespace

Listener::Listener(py::handle newFunction) : function(newFunction) {
    if (!function.is_none() && PyCallable_Check(function.ptr()) == 0) {
        refuse(function, "'progress'", "a function of a name and a percentage, or None");
    }
}

void Listener::setMessage(char const* text) {
    stage = text;
    tell(0);
}

void Listener::setPercentage(unsigned long percent) {
    tell(percent);
}

void Listener::tell(unsigned long percent) {
    py::gil_scoped_acquire const held;
    try {
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
        if (!function.is_none()) {
            function(py::str(stage), percent);
        }
    } catch (...) {
        raised = std::current_exception();
    }
    if (raised) {
        throw Interrupted();
    }
}

void Listener::rethrow() const {
    if (raised) {
        std::rethrow_exception(raised);
    }
}

InUse::InUse(std::vector<void const*> newObjects) : objects(std::move(newObjects)) {
    std::ranges::for_each(objects, requireFree);
    objectsInUse().insert(objects.begin(), objects.end());
}

InUse::~InUse() {
    for (void const* const object : objects) {
        objectsInUse().erase(objectsInUse().find(object));
    }
}

void requireFree(void const* object) {
    if (objectsInUse().contains(object)) {
        throw std::runtime_error(
            "Another call is working on this object: wait for it, or use one object a thread");
    }
}

std::size_t callsRunning() {
    return runningCalls;
}

Running::Running() {
    ++runningCalls;
}

Running::~Running() {
    --runningCalls;
}

std::recursive_mutex& fileWork() {
    static std::recursive_mutex mutex;
    return mutex;
}

py::object takeProgress(py::kwargs const& given) {
    return given.contains("progress") ? py::object(given.attr("pop")("progress")) : py::object(py::none());
}

} // namespace QELT::Python

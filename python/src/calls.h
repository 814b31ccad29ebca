#pragma once

#include "python/src/convert.h"
#include "structures_described.h"

#include <exception>
#include <initializer_list>
#include <mutex>

/// How long work is called: without Python's lock, with a listener that takes it again, and with every object
/// that is worked on kept from other calls.
namespace QELT::Python {

/// Hands progress on to a Python function of a name and a percentage, and lets signals be handled. What is
/// raised there ends the work, and comes out of it unchanged.
class Listener final : public ProgressListener {
public:
    /// `newFunction` is called with the name of each stage and how far it has come, 0 to 100; or None.
    explicit Listener(py::handle newFunction);

    void setMessage(char const* text) override;
    void setPercentage(unsigned long percent) override;

    void reserved3() override {}

    void reserved4() override {}

    /// Throws what was raised, if that was what ended the work.
    void rethrow() const;

private:
    py::handle function;
    std::string stage;
    std::exception_ptr raised;

    void tell(unsigned long percent);
};

/// While it lives, other calls on these objects are refused, from whatever thread and from the listener as
/// well: none of the core's serves two callers at a time. Made and destroyed with Python's lock held.
class InUse {
public:
    /// \throws std::runtime_error if one is in use.
    explicit InUse(std::vector<void const*> newObjects);
    ~InUse();
    InUse(InUse const&) = delete;
    InUse& operator=(InUse const&) = delete;

private:
    std::vector<void const*> objects;
};

/// \throws std::runtime_error if another call works on the object.
void requireFree(void const* object);

/// How many calls run without Python's lock now.
std::size_t callsRunning();

/// Counts such a call.
class Running {
public:
    Running();
    ~Running();
    Running(Running const&) = delete;
    Running& operator=(Running const&) = delete;
};

/// Work that goes through files runs one at a time: the libraries beneath it that read and write them are not
/// made for threads. A listener may call anew.
std::recursive_mutex& fileWork();

/// Does the work without Python's lock. `objects` are those that it works on.
template <class Work>
auto runLong(py::handle progress, std::vector<void const*> objects, Work work) {
    InUse const inUse(std::move(objects));
    Listener listener(progress);
    try {
        Running const running;
        py::gil_scoped_release const released;
        return work(&listener);
    } catch (Interrupted const&) {
        listener.rethrow();
        throw;
    }
}

/// The same of work with files.
template <class Work>
auto runFileWork(py::handle progress, std::vector<void const*> objects, Work work) {
    return runLong(progress, std::move(objects), [&](ProgressListener* listener) {
        std::lock_guard const lock(fileWork());
        return work(listener);
    });
}

/// What a call made, handed over.
template <class T>
py::object handOver(T&& result) {
    using Value = std::remove_cvref_t<T>;
    if constexpr (Described<Value>) {
        return py::cast(std::forward<T>(result), py::return_value_policy::move);
    } else {
        return Conversion<Value>::toPython(result, {});
    }
}

/// Takes "progress" out of keyword arguments; None if it is not there.
py::object takeProgress(py::kwargs const& given);

/// Defines a function of options, given by keywords, and a listener.
template <class Options, class Work>
void defineCall(py::module_& module, char const* name, char const* doc, Work work) {
    module.def(
        name,
        [name, work](py::kwargs const& given) {
            py::object const progress = takeProgress(given);
            Options options;
            fillFields(&options, Description<Options>::fields(), given, std::string(name) + "()");
            auto const call = [&](ProgressListener* listener) { return work(options, listener); };
            if constexpr (std::is_void_v<decltype(work(options, nullptr))>) {
                runFileWork(progress, {}, call);
            } else {
                return handOver(runFileWork(progress, {}, call));
            }
        },
        doc);
}

} // namespace QELT::Python

#include "apps/cscan/progress/interruption.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/outputs.h"

#include <array>
#include <csignal>
#include <string_view>
#include <unistd.h>

namespace cscan {

namespace {

constexpr std::array watchedSignals{SIGINT, SIGTERM, SIGHUP};

/// What a shell adds to the number of a signal that ended a program.
constexpr int statusOfSignals = 128;

/// How long the work has to stop in order.
constexpr unsigned secondsToStop = 1;

volatile std::sig_atomic_t notedSignal = 0;
volatile std::sig_atomic_t mayEndAtOnce = 1;

void handle(int signal, void (*handler)(int));

extern "C" void noteSignal(int signal) {
    notedSignal = signal;
    alarm(secondsToStop);
}

/// The work has not stopped yet.
extern "C" void endOrWait(int) {
    if (mayEndAtOnce == 0) {
        return;
    }
    if (!QELT::Inspection::isNothingUnfinished()) {
        alarm(secondsToStop);
        return;
    }
    constexpr std::string_view word = "\ncscan: interrupted\n";
    [[maybe_unused]] auto const length = write(STDERR_FILENO, word.data(), word.size());
    handle(notedSignal, SIG_DFL);
    raise(notedSignal);
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};

    // Calls that wait, as for the reader of a pipe, give up: they are not taken up again.
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal) {
    struct sigaction action {};

    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

SignalWatch::SignalWatch() {
    notedSignal = 0;
    mayEndAtOnce = 1;
    for (int const signal : watchedSignals) {
        if (!isIgnored(signal)) {
            handle(signal, noteSignal);
        }
    }
    handle(SIGALRM, endOrWait);
    handle(SIGXFSZ, SIG_IGN);
}

SignalWatch::~SignalWatch() {
    alarm(0);
    handle(SIGALRM, SIG_DFL);
    for (int const signal : watchedSignals) {
        if (!isIgnored(signal)) {
            handle(signal, SIG_DFL);
        }
    }
    notedSignal = 0;
}

void SignalWatch::throwIfAsked() {
    if (notedSignal != 0) {
        throw QELT::Inspection::Interrupted();
    }
}

void SignalWatch::stopEndingAtOnce() {
    mayEndAtOnce = 0;
}

int SignalWatch::endIfAsked(int status) {
    int const signal = notedSignal;
    if (signal == 0) {
        return status;
    }
    handle(signal, SIG_DFL);
    std::raise(signal);
    return statusOfSignals + signal; // only where the signal is blocked
}

} // namespace cscan

#pragma once

namespace cscan {

/// While it lives, the signals that ask a program to end (INT, TERM, HUP) are noted instead, so that the work
/// can stop in order; where it takes longer than a second to and nothing is half written, the program ends at
/// once. Those that the program was started without, as by nohup, stay unheard. A file that
/// grows beyond what the system allows makes its write fail and does not end the program. There is one at a
/// time.
class SignalWatch {
public:
    SignalWatch();

    /// What was noted is forgotten.
    ~SignalWatch();
    SignalWatch(SignalWatch const&) = delete;
    SignalWatch& operator=(SignalWatch const&) = delete;

    /// Throws a `QELT::Inspection::Interrupted` if a signal has come since the watch began.
    static void throwIfAsked();

    /// The work is done: signals are noted, but end nothing any more.
    static void stopEndingAtOnce();

    /// If one has come, ends the program as the signal would have done, so that a shell sees what ended it;
    /// gives `status` back if none has.
    static int endIfAsked(int status);
};

} // namespace cscan

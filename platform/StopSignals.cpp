#include "platform/StopSignals.h"

#include <csignal>
#include <initializer_list>

namespace
{
// Written only by the handler, read by the conversion loop: the one mutable
// value a signal handler may touch.
static volatile std::sig_atomic_t s_iStopSignal = 0;

extern "C" void NoteStopSignal(int number)
{
    if (s_iStopSignal == 0)
        s_iStopSignal = number;
}
} // namespace

void InstallStopSignals()
{
    struct sigaction action{};
    action.sa_handler = NoteStopSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // no SA_RESTART: a waiting read returns with EINTR
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaction(number, &action, nullptr);
}

int StopSignalNumber()
{
    return s_iStopSignal;
}

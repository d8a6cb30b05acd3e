#pragma once

// The signals that ask a run to stop (interrupt, terminate, hang-up): the
// conversion finishes at the next frame boundary as if the log ended there,
// so every file it writes stays complete.

// Installs the handlers. A read that is waiting for input returns at once
// when one of the signals arrives.
void InstallStopSignals();

// The number of the first stop signal that arrived, 0 while none has.
int StopSignalNumber();

/// Ctrl-C and its relatives, and an output that nobody reads any more: both ask a verb to end.
#pragma once

/// SIGINT, SIGTERM and SIGHUP only set a flag from now on, and a closed pipe is an error of writing, not a signal.
void catchInterrupts();
/// A signal has asked the program to end.
bool isInterrupted();

/// Standard output cannot be written any more; the error number tells why.
void noteOutputLost(int errorNumber);
/// The error number noted first; 0 while there is none.
int outputError();

/// The verb should end now, for either reason.
bool shouldStop();

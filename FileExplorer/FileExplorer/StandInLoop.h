// What the process does while there is no window: it waits until it is asked to end, by
// SIGTERM or by the end of its standard input, then tells the host that it ends.
//
// Called on the main thread; returns the exit status.
#pragma once

int RunUntilAsked(int argc, const char *argv[]);

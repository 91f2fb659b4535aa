// What the system says of the main thread.
#pragma once

// Whether it waits for something, and so does not run.
bool IsMainThreadWaiting();

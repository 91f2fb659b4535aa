// Thin operations over named POSIX semaphores.
//
// Ownership: a handle belongs to the caller, which passes it to DestroySemaphore. The name
// outlives every handle until ClearSemaphore removes it.
// Threads: any; there is no state.
// Errors: SEM_FAILED, false or -1 as the platform reports them, with errno set.
#pragma once

#include <semaphore.h>

class CSemaphoreHelper {
public:
    // Opens the semaphore of this name, making it with the initial count if there is none.
    sem_t *CreateSemaphore(const char *name, unsigned initial);
    // Opens an existing semaphore only.
    sem_t *OpenSemaphore(const char *name);
    // Closes this process's handle; the name stays.
    bool DestroySemaphore(sem_t *semaphore);

    int SignalSemaphore(sem_t *semaphore);
    // Blocks until the count can be taken.
    int WaitSemaphore(sem_t *semaphore);
    // Takes the count if there is one, and never blocks.
    bool TryWaitSemaphore(sem_t *semaphore);

    // Removes the name; open handles stay usable.
    bool ClearSemaphore(const char *name);
};

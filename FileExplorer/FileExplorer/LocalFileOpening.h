// Opens the local files that exported ones are written to: the only place where such a file is
// created or truncated.
//
// A file that this process has open, under any name, is never touched: it may be the file being
// exported, or the image that holds it. A FIFO, a socket or a device is not even opened.
//
// Ownership: results belong to the caller. Threads: any.
// Errors: errno, as from open; EBUSY for a file that this process has open, ENXIO for anything but
// a file.
#pragma once

#include <cstdio>
#include <functional>
#include <sys/stat.h>

// What stands where a file is to be written.
enum class LocalTarget {
    kNothing,
    kFile,       // an ordinary file with one name
    kOtherName,  // a link, or a file with several names: its target must stay
    kRefused,    // errno says why
};

// Whether the process has the file open.
using OpenQuestion = bool (*)(const struct stat &file);
// The usual one.
bool IsOpenAnywhere(const struct stat &file);

// name: relative to folder, an open folder or AT_FDCWD. found receives the status of what is there,
// of a link itself and not of its target, unless there is nothing or stat fails. isOpen: asked
// about an ordinary file.
LocalTarget LookAtLocalTarget(int folder, const char *name, struct stat *found,
                              OpenQuestion isOpen = &IsOpenAnywhere);

// Creates an ordinary file for writing and returns its descriptor; -1 if the name exists.
int CreateLocalFile(int folder, const char *name);

// As fopen with "w" for an ordinary file or none. A link, or one of several names of a file, is
// removed and replaced by a new file. Null if it cannot be opened.
FILE *OpenLocalFile(const char *path);

// Whether this process has a descriptor other than except open on the file.
bool IsOpenInThisProcess(const struct stat &file, int except = -1);

// Whether an existing file lies in a folder that this process has open (a plain folder being
// exported is) and that the destination reaches by a link or contains. False if the destination
// itself lies in such a folder.
bool LiesInOpenFolder(const char *path, const char *destination);

// Goes up from an open folder, which it closes, and asks the question of it and of each parent
// folder; true at the first yes, false at `last` or at the root.
using FolderQuestion = std::function<bool(int folder, const struct stat &found)>;
bool IsAnyFolderAbove(int folder, const struct stat &last, const FolderQuestion &question);

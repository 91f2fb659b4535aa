// Opens the files of this machine that exported ones are written to: the one place in which such a
// file is created or emptied.
//
// A file that this process has open, under whatever name, is never touched: it may be what is
// exported, or the image that it lies in. A FIFO, a socket or a device is not even opened.
//
// Ownership: what is returned belongs to the caller. Threads: any.
// Errors: errno, as of open; EBUSY for a file that this process has open, ENXIO for what is no
// file.
#pragma once

#include <cstdio>
#include <functional>
#include <sys/stat.h>

// What stands where a file is to be written.
enum class LocalTarget {
    kNothing,
    kFile,       // an ordinary file with one name
    kOtherName,  // a link, or a file with several names: what it leads to has to stay
    kRefused,    // errno says why
};

// name: relative to folder, an open folder or AT_FDCWD. found receives what stands there, a link
// itself and not what it leads to, unless there is nothing or it cannot be looked at.
LocalTarget LookAtLocalTarget(int folder, const char *name, struct stat *found);

// Creates an ordinary file for writing and returns its descriptor; -1 if there is anything already.
int CreateLocalFile(int folder, const char *name);

// As fopen with "w" for an ordinary file or none. A link, or one of several names of a file, is
// removed and made anew as a file. Null if it cannot be opened.
FILE *OpenLocalFile(const char *path);

// Whether a descriptor of this process, except aside, is open on the file.
bool IsOpenInThisProcess(const struct stat &file, int except = -1);

// Whether an existing file lies in a folder that this process has open, as it has that of a plain
// folder that is exported, and is reached from the destination by a link or because that folder
// lies in it. A destination within such a folder is no such case.
bool LiesInOpenFolder(const char *path, const char *destination);

// Goes up from an open folder, itself included, and asks about each by its descriptor; true at the
// first yes, false when the last one or the top is met. Closes the folder.
using FolderQuestion = std::function<bool(int folder, const struct stat &found)>;
bool IsAnyFolderAbove(int folder, const struct stat &last, const FolderQuestion &question);

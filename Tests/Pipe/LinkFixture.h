// What the tests of the link share: open flags, a short polling interval, names that no other
// test uses at the same time, and messages.
#pragma once

#include "CCommandDataWrapper.h"
#include "PollInterval.h"
#include "_MSG_DATA_PACKAGE.h"

#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <semaphore.h>
#include <string>
#include <unistd.h>

constexpr int kReadFlags = O_CREAT | O_RDONLY | O_NONBLOCK;
constexpr int kWriteFlags = O_CREAT | O_WRONLY | O_NONBLOCK;
constexpr vx::PollInterval kFast(5);
constexpr int kWholeMessage = static_cast<int>(kPipeMessageSize);

// Semaphore names are seen by the whole machine.
inline std::string UniqueName()
{
    static std::atomic<int> count{0};
    return "t" + std::to_string(getpid()) + "x" + std::to_string(count++);
}

inline std::string SemaphoreName(const std::string &connector, int id)
{
    return "z5_sem_" + connector + "_" + std::to_string(id) + "_";
}

inline bool SemaphoreExists(const std::string &name)
{
    sem_t *semaphore = sem_open(name.c_str(), 0);
    if (semaphore == SEM_FAILED)
        return false;
    sem_close(semaphore);
    return true;
}

inline _MSG_DATA_PACKAGE Message(int32_t id, const std::string &body)
{
    _MSG_DATA_PACKAGE message = {};
    message.msgId = id;
    memcpy(message.body, body.data(), std::min(body.size(), sizeof(message.body)));
    return message;
}

// 512 bytes to hand to a send.
inline std::string Padded(std::string text)
{
    text.resize(kPipeMessageSize, '\0');
    return text;
}

inline std::string RecordText(uint32_t code, uint32_t length)
{
    const CCommandDataWrapper<char> record = {static_cast<COMMAND_TYPE>(code), 0, length, 0};
    return std::string(reinterpret_cast<const char *>(&record), sizeof(record));
}

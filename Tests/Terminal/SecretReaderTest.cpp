#include "SecretReader.h"

#include "EventPipe.h"
#include "Eventually.h"
#include "PipeFolder.h"
#include "UniqueFd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

using Answer = SecretReader::Answer;

// A pipe with some bytes, whose reading end a program would inherit. It is the reader's to close.
struct InheritedPipe {
    explicit InheritedPipe(const std::string &bytes)
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe(ends), 0);
        reading = ends[0];
        writing = UniqueFd(ends[1]);
        EXPECT_EQ(write(writing.Get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }

    std::string Word() const { return "fd:" + std::to_string(reading); }

    int reading = -1;
    UniqueFd writing;
};

class SecretReaderTest : public testing::Test {
protected:
    // What the word of a command line is taken for; a failure adds the error.
    Unlocking Taken(const std::string &word)
    {
        Unlocking unlocking;
        EXPECT_TRUE(unlocking.Take(word.c_str(), &_error)) << _error;
        return unlocking;
    }

    std::string ErrorOf(const std::string &word)
    {
        Unlocking unlocking;
        _error.clear();
        EXPECT_FALSE(unlocking.Take(word.c_str(), &_error)) << word;
        return _error;
    }

    Answer Read(const Unlocking &unlocking) { return _reader.Read(unlocking, "disk", &_secret); }
    Answer Read(const std::string &word) { return Read(Taken(word)); }

    std::string FileWith(const std::string &bytes)
    {
        std::ofstream(_folder.At("secret"), std::ios::binary) << bytes;
        return "@" + _folder.At("secret");
    }

    PipeFolder _folder;
    EventPipe _events;
    TypedSecret _secret;
    std::string _error;
    SecretReader _reader{-1, _events};
};

TEST_F(SecretReaderTest, AWordIsTheSecretItself)
{
    for (const char *word : {"open sesame", "", "a@b", "--", "fd"}) {
        EXPECT_EQ(Read(word), Answer::kGiven);
        EXPECT_STREQ(_secret.Text(), word);
    }
    EXPECT_EQ(Read(std::string(TypedSecret::kMostBytes + 1, 'x')), Answer::kTooLong);
    EXPECT_STREQ(_secret.Text(), "");
    EXPECT_EQ(_reader.Error(), "the secret is longer than 4095 bytes");
}

TEST_F(SecretReaderTest, AFileGivesItsFirstLineWithoutItsEnd)
{
    for (const char *bytes : {"open sesame\nmore\n", "open sesame\r\n", "open sesame"}) {
        EXPECT_EQ(Read(FileWith(bytes)), Answer::kGiven);
        EXPECT_STREQ(_secret.Text(), "open sesame");
    }
    const std::string longest(TypedSecret::kMostBytes, 'x');
    EXPECT_EQ(Read(FileWith(longest)), Answer::kGiven);
    EXPECT_EQ(_secret.Text(), longest);
}

TEST_F(SecretReaderTest, TheByteOrderMarkOfAFileIsNoPartOfTheSecret)
{
    EXPECT_EQ(Read(FileWith("\xEF\xBB\xBFopen sesame\r\n")), Answer::kGiven);
    EXPECT_STREQ(_secret.Text(), "open sesame");
    EXPECT_EQ(Read(FileWith("\xEF\xBB\xBF\n")), Answer::kNone);
    EXPECT_EQ(_reader.Error(), "no secret was given");
    EXPECT_EQ(Read(FileWith("\xEF\xBBopen")), Answer::kGiven);
    EXPECT_STREQ(_secret.Text(), "\xEF\xBBopen");
}

TEST_F(SecretReaderTest, AFileWithoutASecretIsRefused)
{
    EXPECT_EQ(Read(FileWith("")), Answer::kNone);
    EXPECT_EQ(Read(FileWith("\nmore")), Answer::kNone);
    EXPECT_EQ(Read(FileWith(std::string("a\0b", 3))), Answer::kZeroByte);
    EXPECT_EQ(_reader.Error(), "the secret contains a zero byte");
    EXPECT_EQ(Read(FileWith(std::string(TypedSecret::kMostBytes + 1, 'x'))), Answer::kTooLong);
    EXPECT_STREQ(_secret.Text(), "");
}

TEST_F(SecretReaderTest, AnEndlessLineIsNotReadToItsEnd)
{
    EXPECT_EQ(Read("@/dev/zero"), Answer::kTooLong);
}

TEST_F(SecretReaderTest, AFifoIsWaitedFor)
{
    const std::string fifo = _folder.At("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    auto read = std::async(std::launch::async, [&] { return Read("@" + fifo); });
    const UniqueFd writing(open(fifo.c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(write(writing.Get(), "open ", 5), 5);
    EXPECT_EQ(read.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    ASSERT_EQ(write(writing.Get(), "sesame\n", 7), 7);
    EXPECT_EQ(read.get(), Answer::kGiven);
    EXPECT_STREQ(_secret.Text(), "open sesame");
}

TEST_F(SecretReaderTest, ASignalEndsTheWaitForAFifoThatNobodyWrites)
{
    const std::string fifo = _folder.At("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    auto read = std::async(std::launch::async, [&] { return Read("@" + fifo); });
    _events.Post(SIGINT);
    EXPECT_EQ(read.get(), Answer::kInterrupted);
    EXPECT_EQ(_reader.InterruptingSignal(), SIGINT);
}

TEST_F(SecretReaderTest, AFileThatCannotBeReadIsAnErrorThatDoesNotRepeatItsName)
{
    const std::string missing = "@" + _folder.At("a-password");
    EXPECT_EQ(Read(missing), Answer::kUnreadable);
    EXPECT_EQ(_reader.Error(),
              std::string("the file of the secret, named after \"@\", cannot be read: ") +
                  strerror(ENOENT) +
                  " (a secret that begins with \"@\" can be typed after \"-\", or given by fd:N)");
    EXPECT_EQ(Read("@/"), Answer::kUnreadable);
    EXPECT_THAT(_reader.Error(), testing::HasSubstr(strerror(EISDIR)));
    EXPECT_NE(ErrorOf("@"), "");
}

TEST_F(SecretReaderTest, ADescriptorGivesOneLineAndIsClosed)
{
    const InheritedPipe source("open sesame\nmore");
    EXPECT_EQ(Read(source.Word()), Answer::kGiven);
    EXPECT_STREQ(_secret.Text(), "open sesame");
    EXPECT_EQ(fcntl(source.reading, F_GETFD), -1);
}

TEST_F(SecretReaderTest, ASignalEndsTheWaitForADescriptorThatStalls)
{
    const InheritedPipe source("half");
    const Unlocking unlocking = Taken(source.Word());
    auto read = std::async(std::launch::async, [&] { return Read(unlocking); });
    _events.Post(SIGTERM);
    EXPECT_EQ(read.get(), Answer::kInterrupted);
    EXPECT_EQ(_reader.InterruptingSignal(), SIGTERM);
    EXPECT_STREQ(_secret.Text(), "");
}

TEST_F(SecretReaderTest, ADescriptorIsNotPassedOnToOtherPrograms)
{
    const InheritedPipe source("");
    const UniqueFd closed(Taken(source.Word()).descriptor);
    EXPECT_EQ(closed.Get(), source.reading);
    EXPECT_EQ(fcntl(source.reading, F_GETFD), FD_CLOEXEC);
}

TEST_F(SecretReaderTest, ADescriptorThatCannotBeReadIsRefused)
{
    const InheritedPipe source("");
    const UniqueFd closed(source.reading);
    const std::string writing = std::to_string(source.writing.Get());
    EXPECT_EQ(ErrorOf("fd:" + writing), "descriptor " + writing + " cannot be read");
    const int folder = open("/", O_RDONLY);  // NOLINT(android-cloexec-open): it is inherited
    EXPECT_EQ(Read("fd:" + std::to_string(folder)), Answer::kUnreadable);
    EXPECT_EQ(_reader.Error(), "the secret cannot be read from there");
}

TEST_F(SecretReaderTest, WhatIsNoInheritedDescriptorIsRefused)
{
    for (const char *word : {"fd:1", "fd:2", "fd:", "fd:x", "fd:-1", "fd: 3", "fd:3x",
                             "fd:2147483648", "fd:99999999999999999999"})
        EXPECT_NE(ErrorOf(word), "") << word;
    EXPECT_EQ(ErrorOf("fd:1000000"), "descriptor 1000000 is not open");
    const UniqueFd own(open("/dev/null", O_RDONLY | O_CLOEXEC));
    const std::string number = std::to_string(own.Get());
    EXPECT_EQ(ErrorOf("fd:" + number), "descriptor " + number + " is not open");
}

TEST_F(SecretReaderTest, OnlyPathsThatAreThereCountAsFilesOfKeys)
{
    Unlocking unlocking = Taken(FileWith("x"));
    const std::string file = _folder.At("secret");
    EXPECT_THAT(unlocking.KeyPaths("x"), testing::ElementsAre(file));
    unlocking.kind = "password";
    EXPECT_THAT(unlocking.KeyPaths(file.c_str()), testing::ElementsAre(file));
    unlocking = Unlocking();
    for (const char *kind : {"startup-key", "recovery-file", "key-ring", "vmk", "fvek"}) {
        unlocking.kind = kind;
        EXPECT_THAT(unlocking.KeyPaths(file.c_str()), testing::ElementsAre(file)) << kind;
        EXPECT_THAT(unlocking.KeyPaths("00ff"), testing::IsEmpty()) << kind;
    }
    unlocking.kind = "password";
    EXPECT_THAT(unlocking.KeyPaths(file.c_str()), testing::IsEmpty());
}

}  // namespace
}  // namespace vx

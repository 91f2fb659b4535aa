// In place of pkexec, installed as it is: owned by root and with the right to become root. It takes
// the question for answered with yes, and does what it was asked for, after it has written it down.
//
// VX_PKEXEC_RECORD: the file for the arguments, one a line.
// VX_PKEXEC_ANSWER: an exit status in place of doing it, or "wait" to wait for the user without
// end.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

int main(int argc, char **argv)
{
    if (const char *record = getenv("VX_PKEXEC_RECORD")) {
        std::string text;
        for (int i = 1; i < argc; ++i)
            text += std::string(argv[i]) + "\n";
        if (FILE *file = fopen(record, "w")) {
            fputs(text.c_str(), file);
            fclose(file);
        }
    }
    if (const char *answer = getenv("VX_PKEXEC_ANSWER")) {
        if (strcmp(answer, "wait") == 0)
            pause();
        fputs("Error executing command as another user: Request dismissed\n\nmore\n", stderr);
        return atoi(answer);
    }
    if (argc < 3 || strcmp(argv[1], "--disable-internal-agent") != 0 || setuid(0) != 0)
        return 127;
    execvp(argv[2], argv + 2);
    return 127;
}

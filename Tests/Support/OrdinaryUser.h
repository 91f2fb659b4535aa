// While it lives, the process acts on files as an ordinary user, also if root runs the tests.
// The real user changes with the effective one, since access() asks for that. All threads.
#pragma once

#include <pwd.h>
#include <unistd.h>

#include <stdexcept>

class OrdinaryUser {
public:
    OrdinaryUser() : _wasRoot(geteuid() == 0)
    {
        if (!_wasRoot)
            return;
        const passwd *nobody = getpwnam("nobody");
        // The first step keeps root as the saved user, to come back to.
        if (nobody == nullptr || setreuid(nobody->pw_uid, 0) != 0 || seteuid(nobody->pw_uid) != 0)
            throw std::runtime_error("cannot act as an ordinary user");
    }
    ~OrdinaryUser()
    {
        if (_wasRoot && (seteuid(0) != 0 || setreuid(0, 0) != 0))
            _exit(1);
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    const bool _wasRoot;
};

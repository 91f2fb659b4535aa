// While it lives, the process acts on files as an ordinary user, also if root runs the tests.
#pragma once

#include <pwd.h>
#include <unistd.h>

#include <stdexcept>

class OrdinaryUser {
public:
    OrdinaryUser() : _before(geteuid())
    {
        if (_before != 0)
            return;
        const passwd *nobody = getpwnam("nobody");
        if (nobody == nullptr || seteuid(nobody->pw_uid) != 0)
            throw std::runtime_error("cannot act as an ordinary user");
    }
    ~OrdinaryUser()
    {
        if (seteuid(_before) != 0)
            _exit(1);
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    uid_t _before;
};

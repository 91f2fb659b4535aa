#include "UserName.h"

#include <pwd.h>

namespace vx {

std::string UserName(uid_t user)
{
    char buffer[16 * 1024];
    struct passwd entry;
    struct passwd *found = nullptr;
    const int error = getpwuid_r(user, &entry, buffer, sizeof(buffer), &found);
    return error == 0 && found != nullptr ? found->pw_name : "";
}

}  // namespace vx

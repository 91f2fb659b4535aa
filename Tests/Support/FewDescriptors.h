// As long as it lives, no descriptor with this number or a larger one can be opened. Those that are
// open stay open.
#pragma once

#include <string>
#include <sys/resource.h>

namespace vx {

// The line with which a shell runs the program in its further arguments with that limit. What the
// parents of the test have left open is closed: it would take the places.
inline std::string RunWithDescriptors(int most)
{
    return "exec 3<&- 4<&- 5<&- 6<&- 7<&- 8<&- 9<&-; ulimit -n " + std::to_string(most) +
           "; exec \"$0\" \"$@\"";
}

class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t limit = 0)
    {
        getrlimit(RLIMIT_NOFILE, &_former);
        const struct rlimit few = {limit, _former.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &_former); }
    FewDescriptors(const FewDescriptors &) = delete;
    FewDescriptors &operator=(const FewDescriptors &) = delete;

private:
    struct rlimit _former = {};
};

}  // namespace vx

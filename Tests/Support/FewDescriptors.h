// As long as it lives, no descriptor with this number or a larger one can be opened. Those that are
// open stay open.
#pragma once

#include <sys/resource.h>

namespace vx {

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

// Waits until something holds that no event announces; every wait has a deadline.
#pragma once

#include <chrono>
#include <thread>

template <typename Condition>
bool Eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(20))
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

/// Runs @p task in as many threads, each with its number, which all begin together. They are the language's own: a
/// look-out for races sees their start and end, while Qt's are hidden from it.
inline void atOnce(int threadCount, const std::function<void(int)>& task)
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready < threadCount)
                std::this_thread::yield();
            task(i);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

// Looks whether other processes are still there.
#ifndef KZFI_TESTS_SIMHOST_PROCESSES_H
#define KZFI_TESTS_SIMHOST_PROCESSES_H

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace kzfi_tests {

/// Whether a process is there and not just waiting to be buried.
inline bool isAlive(const std::string& id) {
    std::ifstream stat("/proc/" + id + "/stat");
    std::string pid;
    std::string name;
    std::string state;
    stat >> pid >> name >> state;
    return !state.empty() && state != "Z" && state != "X";
}

inline bool diesSoon(const std::string& id) {
    for (int i = 0; i < 500 && isAlive(id); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return !isAlive(id);
}

} // namespace kzfi_tests

#endif

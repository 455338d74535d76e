#include "diag/tracetime.h"

#include <sys/time.h>

#include <cstring>

#include "kzfi_portable.h"

namespace kzfi_pdk_4_4 {

namespace {

// The digits of number, with zeros in front, in the width characters at target.
void putDigits(char* target, int width, unsigned int number) {
    for (char* digit = target + width; digit != target; number /= 10) {
        *--digit = static_cast<char>('0' + number % 10);
    }
}

void putDigits(char* target, int width, int number) {
    putDigits(target, width, static_cast<unsigned int>(number));
}

} // namespace

// By hand: ACE::timestamp takes 0.2 us, where a whole written line takes 1.1 us.
TraceTime::TraceTime() : local() {
    struct timeval now;
    gettimeofday(&now, nullptr);
    if (K_localtime(&now.tv_sec, &local) == nullptr) {
        std::strcpy(text, "<time error>");
        return;
    }
    std::strcpy(text, "yyyy-mm-dd hh:mm:ss.uuuuuu");
    putDigits(text, 4, local.tm_year + 1900);
    putDigits(text + 5, 2, local.tm_mon + 1);
    putDigits(text + 8, 2, local.tm_mday);
    putDigits(text + 11, 2, local.tm_hour);
    putDigits(text + 14, 2, local.tm_min);
    putDigits(text + 17, 2, local.tm_sec);
    putDigits(text + 20, 6, static_cast<int>(now.tv_usec));
}

std::string TraceTime::date() const {
    char digits[] = "mmddyy";
    putDigits(digits, 6, day());
    return digits;
}

} // namespace kzfi_pdk_4_4

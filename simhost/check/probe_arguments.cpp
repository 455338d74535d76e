#include "probe_arguments.h"

#include <algorithm>
#include <cstring>

namespace kzfi_simhost {
namespace {

bool isCleared(const std::vector<char>& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == 0; });
}

/// claim, supportsFiType and interpose answer with small numbers of their own.
bool isSuccess(const std::optional<int>& status) {
    return !status || (*status >= 0 && *status < KZFI_ERR_INVALID);
}

} // namespace

void* probeMark() {
    // Room for whatever a provider may look for behind a pointer of its own.
    alignas(16) static char mark[256];
    return mark;
}

void* ProbeArguments::piece(const std::string& name, const void* bytes, std::size_t size,
                            bool isOutput) {
    const char* const first = static_cast<const char*>(bytes);
    const std::vector<char> copy(first, first + size);
    return pieces.emplace_back(Piece{name, copy, copy, isOutput}).now.data();
}

char* ProbeArguments::text(const std::string& name) {
    return static_cast<char*>(piece(name, request.text.c_str(), request.text.size() + 1, false));
}

ProbeAnswer ProbeArguments::judge(std::optional<int> status) {
    ProbeAnswer answer;
    answer.status = status;
    for (const Piece& piece : pieces) {
        if (piece.now == piece.before) {
            continue;
        }
        if (!piece.isOutput) {
            answer.changedInputs.push_back(piece.name);
            continue;
        }
        answer.written.push_back(piece.name);
        if (!isCleared(piece.now)) {
            answer.filled.push_back(piece.name);
        }
    }
    for (const auto& work : later) {
        work(isSuccess(status));
    }
    return answer;
}

} // namespace kzfi_simhost

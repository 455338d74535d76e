#include "qemuimg.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "cfiexecpipe.h"
#include "cfipluginbase.h"
#include "failure.h"

using namespace kzfi_pdk_4_4;

namespace diskimage {
namespace {

using Clock = std::chrono::steady_clock;

// Codes of EFiExecPipe.
const int NO_PIPE = 1;
const int NO_PROCESS = 4;
const int TIMED_OUT = 5;
const int NOT_EXECUTABLE = 7;

// The tool writes its progress without newlines. In pieces no longer than this each step of it is
// a line of its own, behind which an abort acts.
const int PIECE = 16;

// How long a run that is over gets for its end, then after SIGTERM, then after SIGKILL.
const long LAST_SECONDS = 1;

// What fits into a message.
const std::size_t MOST_WORDS = 400;

/// For the runner: blanks and quotes in it are plain characters.
std::string inQuotes(const std::string& argument) {
    std::string text = "'";
    for (const char c : argument) {
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return text + "'";
}

/// What the tool said, without its progress: the last lines of it as one.
std::string wordsIn(const std::string& output) {
    std::string words;
    std::string line;
    for (const char c : output + "\n") {
        if (c == '\n' && !line.empty()) {
            words += (words.empty() ? "" : "; ") + line;
        }
        if (c == '\n' || c == '\r') {
            line.clear(); // A carriage return ends a step of the progress.
        } else {
            line += c;
        }
    }
    return words.size() > MOST_WORDS ? "..." + words.substr(words.size() - MOST_WORDS) : words;
}

} // namespace

/// One run of the tool, with a limit for all of it where the kit's runner has one for silence.
class QemuImg::Run : public CFiExecPipePosix {
  public:
    Run(QemuImg& tool, long seconds)
        : CFiExecPipePosix(1),
          owner(tool),
          limit(seconds),
          end(Clock::now() + std::chrono::seconds(seconds)) {
        registerTraceLog(tool.traceLog);
        const std::lock_guard<std::mutex> guard(owner.lock);
        owner.running.insert(this);
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    ~Run() override {
        const std::lock_guard<std::mutex> guard(owner.lock);
        owner.running.erase(this);
    }

    bool IsAbortRequested() override {
        return CFiExecPipePosix::IsAbortRequested() || CFiPluginBase::isShuttingDown(false);
    }

    bool ReadLine(char* buffer, int size, unsigned char* timedOut, long) override {
        const auto left = std::chrono::ceil<std::chrono::seconds>(end - Clock::now()).count();
        const bool got =
            CFiExecPipePosix::ReadLine(buffer, std::min(size, PIECE), timedOut, std::max(left, 0L));
        isLate = isLate || *timedOut != 0;
        return got;
    }

    int Close(long timeout) override {
        return CFiExecPipePosix::Close(isLate || IsAbortRequested() ? LAST_SECONDS : timeout);
    }

    /// All that the command wrote.
    std::string run(const std::string& command) {
        if (IsAbortRequested()) {
            throw Failure(ABORTED, {owner.program});
        }
        std::vector<std::string> pieces;
        const int result = Exec(command, pieces, "", static_cast<unsigned long>(limit), "", "", "");
        std::string output;
        for (const std::string& piece : pieces) {
            // Run by the framework, the lines come without their newlines.
            output += IsChildContext() ? piece + "\n" : piece;
        }
        if (result != 0) {
            throw failureOf(result, wordsIn(output));
        }
        return output;
    }

  private:
    Failure failureOf(int result, std::string words) {
        if (IsAbortRequested()) {
            return Failure(ABORTED, {owner.program});
        }
        if (result == NO_PIPE || result == NO_PROCESS || result == NOT_EXECUTABLE) {
            return Failure(NO_TOOL, {owner.program});
        }
        if (result == TIMED_OUT) {
            words = words.empty() ? "-" : words;
            return Failure(TOO_SLOW, {owner.program, std::to_string(limit), words});
        }
        if (words.empty()) {
            const std::wstring ending = getLastError().message;
            words = std::string(ending.begin(), ending.end());
        }
        return Failure(TOOL_FAILED, {owner.program, words});
    }

    QemuImg& owner;
    const long limit;
    const Clock::time_point end;
    bool isLate = false;
};

void QemuImg::use(const std::string& path, const CFiTraceLogPtr& log) {
    program = path;
    traceLog = log;
}

std::uintmax_t QemuImg::measure(const Image& source, Format format, long seconds) {
    const std::string output =
        run({"measure", "-f", nameOf(source.format), "-O", nameOf(format), source.file}, seconds);
    const std::string label = "required size: ";
    const std::size_t place = output.find(label);
    if (place == std::string::npos) {
        throw Failure(TOOL_FAILED, {program, wordsIn(output)});
    }
    return std::strtoull(output.c_str() + place + label.size(), nullptr, 10);
}

void QemuImg::convert(const Image& source, const std::filesystem::path& target, Format format,
                      long seconds) {
    run({"convert", "-p", "-f", nameOf(source.format), "-O", nameOf(format), source.file, target},
        seconds);
}

void QemuImg::abort() {
    const std::lock_guard<std::mutex> guard(lock);
    for (Run* const each : running) {
        each->Abort();
    }
}

std::string QemuImg::run(const std::vector<std::string>& arguments, long seconds) {
    std::string command = inQuotes(program);
    for (const std::string& argument : arguments) {
        command += " " + inQuotes(argument);
    }
    return Run(*this, seconds).run(command);
}

} // namespace diskimage

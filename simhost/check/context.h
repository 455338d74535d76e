// What a check works with: the provider's life, calls, findings. Lives in the provider's process.
#ifndef KZFI_SIMHOST_CHECK_CONTEXT_H
#define KZFI_SIMHOST_CHECK_CONTEXT_H

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "check.h"
#include "child_run.h"
#include "host_context.h"
#include "host_watch.h"
#include "outcome.h"
#include "probe.h"
#include "scenario.h"

namespace kzfi_simhost {

/// Ends a check early; thrown by skip() and by what finds that it makes no sense to go on. Let it
/// pass.
class CheckIsOver {};

/// Threads: a check may call doing(), guarded(), call(), ask(), fail(), warn() from threads of its
/// own, which end before it returns. The rest is for the thread of the check.
class CheckContext {
  public:
    CheckContext(const Scenario& configuration, const HostRoot& newRoot,
                 const EventWriter& newEvents);
    CheckContext(const CheckContext&) = delete;
    CheckContext& operator=(const CheckContext&) = delete;
    ~CheckContext();

    const Scenario& config() const { return scenario; }
    /// This check's own install root.
    const HostRoot& root() const { return hostRoot; }

    // ---- Findings

    /// The rule is broken: text says how, in one line, with what was called and what came.
    void fail(const std::string& text);
    /// The same for what is only worth a look.
    void warn(const std::string& text);
    /// fail(otherwise) unless holds; holds.
    bool expect(bool holds, const std::string& otherwise);
    /// Ends the check. detail: the operation, the key, what the machine lacks.
    [[noreturn]] void skip(SkipReason reason, const std::string& detail);
    /// Calls the operation and goes on when it answers anything but 4. Else calls it twice more:
    /// skips when it is 4 every time, fails when it is not.
    void skipUnlessImplemented(const std::string& operation, const Json& arguments = {});

    // ---- The provider's life. Each step does those before it that were not done yet, and a
    // failure in it fails and ends the check.

    /// Loads the shared object.
    ProviderLibrary& load();
    /// Makes the provider and the host around it.
    HostContext& create();
    /// Calls init. The operations can be called now.
    HostContext& start();
    /// Calls fini; start() may come again.
    void stop();
    /// fini if need be, releases, unloads, and looks whether everything is as it was. The runner
    /// calls it, so a check needs it only to look at what is left.
    void end();

    /// A further provider object of the loaded library with a host of its own, not yet started.
    /// It must be gone when the check returns.
    std::unique_ptr<HostContext> another();

    // ---- Calls

    /// Says what comes next, and gives it a deadline of its own. A crash, an exit or a hang is
    /// reported with it.
    void doing(const std::string& what);
    /// doing(what), then call(). Whether it came back; an exception that leaves it is kept for the
    /// verdict.
    bool guarded(const std::string& what, const std::function<void()>& call);
    /// The same; the exception as "TYPE: TEXT", empty without.
    std::string thrownBy(const std::string& what, const std::function<void()>& call);
    /// Calls an operation as a step of a scenario does (`kzfi-simhost operations` lists the
    /// fields), and reports what holds for no answer. After an exception, which is kept for the
    /// verdict, outcome.exception is set.
    Outcome call(const std::string& operation, const Json& arguments = {});
    /// The same with words of one's own for the call, which stand before what is reported as well.
    Outcome callAs(const std::string& what, const std::string& operation, const Json& arguments);
    /// The same as call() on the host of another().
    Outcome callOn(HostContext& host, const std::string& operation, const Json& arguments = {});
    /// Calls a probe on the provider, and reports what holds for no answer; no answer after an
    /// exception. how: what is special about the call.
    std::optional<ProbeAnswer> ask(const Probe& probe, const ProbeRequest& request,
                                   const std::string& how = "");

    /// A node record of this name that the provider was never given; it lives as long as this.
    kfi_domain* stranger(const std::string& name);

    // ---- What the host watches; the runner looks at all of it at the end

    /// Reports what was done to buffers since the last look, as done by what.
    void lookAtBuffers(const std::string& what);
    /// Reports how environment, working directory, umask, locale and signals have changed since the
    /// last look, as changed by what.
    void lookAround(const std::string& what);

    /// Every operation once on harmless arguments and the first node, but for init and fini; from
    /// initNode to deInitNode.
    std::vector<Step> harmlessCalls() const;

    /// Name of the first configured node.
    const std::string& firstNode() const { return scenario.nodes.front().name; }

    /// Whether exceptions that leave the provider from now on make the verdict; they do unless a
    /// check looks at them itself.
    void keepExceptions(bool keep) { exceptionsCount = keep; }

  private:
    void begin();
    void found(const char* severity, const std::string& text);
    void release();
    void unload();
    void report(const std::vector<Finding>& findings, const std::string& by = "");
    void noteException(const std::string& thrown);
    Outcome callStep(HostContext& host, const Step& step, const std::string& what,
                     const std::string& by);
    std::string traceFile() const;

    const Scenario& scenario;
    const HostRoot& hostRoot;
    const EventWriter& events;
    std::mutex sending;
    std::string traceName;
    struct LooseNode {
        kfi_domain record = {};
        int32_t supportLevel = 0;
    };
    std::deque<LooseNode> strangers;
    HostWatch watch;
    std::unique_ptr<ProviderLibrary> library;
    std::unique_ptr<HostContext> host;
    bool started = false;
    bool exceptionsCount = true;
    bool ended = false;
    bool abandoned = false; ///< the provider is left as it is, as nothing of it is safe any more
    std::map<std::string, std::size_t> findings; ///< how many, by severity
};

} // namespace kzfi_simhost

#endif

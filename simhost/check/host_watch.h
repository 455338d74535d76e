// What the host keeps an eye on during every check, whatever the check itself is about.
#ifndef KZFI_SIMHOST_CHECK_HOST_WATCH_H
#define KZFI_SIMHOST_CHECK_HOST_WATCH_H

#include <memory>
#include <string>
#include <vector>

#include "answer_watch.h"
#include "cfipluginbase.h"
#include "finding.h"

namespace kzfi_simhost {

/// What a process has that a provider must leave as it was.
class Surroundings {
  public:
    /// As they are now.
    Surroundings();

    /// What is different now, a line each.
    std::vector<Finding> changes() const;
    /// Whether threads run that did not then.
    bool hasNewThreads() const;
    /// The same without descriptors and threads, which a provider may have between init and fini.
    std::vector<Finding> lastingChanges() const;
    /// What lastingChanges() gives now counts as known.
    void takeLastingChanges();

  private:
    /// What belongs to the whole process and to nobody in it.
    struct Lasting {
        std::vector<std::string> environment;
        std::vector<std::string> signals;
        std::string folder;
        std::string locale;
        unsigned mask;
    };
    static Lasting lastingNow();

    Lasting lasting;
    std::vector<std::string> descriptors;
    std::vector<std::string> threads;
};

/// Holds the trace log and the managers that a provider was given, to see whether it gives every
/// reference back.
class ReferenceWatch {
  public:
    explicit ReferenceWatch(kzfi_pdk_4_4::CFiPluginBase& provider);
    ReferenceWatch(const ReferenceWatch&) = delete;
    ReferenceWatch& operator=(const ReferenceWatch&) = delete;
    ~ReferenceWatch();

    /// Before the host lets go: references that were given back too often. When there are any,
    /// nothing more may be released in this process.
    std::vector<Finding> tooFew();
    /// Lets go; call it when provider and host are gone.
    std::vector<Finding> leftOver();

  private:
    struct Held;
    std::unique_ptr<Held> held;
};

/// The buffers that go through the host's helpers. One at a time in a process.
class BufferWatch {
  public:
    BufferWatch();
    BufferWatch(const BufferWatch&) = delete;
    BufferWatch& operator=(const BufferWatch&) = delete;
    ~BufferWatch();

    /// What was found since the last call.
    std::vector<Finding> findings();
    /// The same with the buffers that are still out.
    std::vector<Finding> leftOver();
};

/// Entries and exits in a trace file that do not belong together.
std::vector<Finding> unpaired(const std::string& traceFile);

/// All of it, in the order of a provider's life.
struct HostWatch {
    std::unique_ptr<Surroundings> surroundings;
    std::unique_ptr<ReferenceWatch> references;
    std::unique_ptr<BufferWatch> buffers;
    AnswerWatch answers;
};

} // namespace kzfi_simhost

#endif

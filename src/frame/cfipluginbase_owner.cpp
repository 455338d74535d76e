// Handing a device over to another user and group.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "cfipluginbase.h"
#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {
namespace {

constexpr int ATTEMPTS = 10;
constexpr unsigned WAIT_SECONDS = 30;

/// One change of owner: who gets what, and where it is traced.
class OwnerChange {
  public:
    OwnerChange(const CFiTraceLogPtr& log, const std::string& path, long user, long newGroup)
        : traceLog(log),
          resource(path.c_str()),
          owner(user),
          group(newGroup) {}

    int run() const {
        traceTo(traceLog, TRACE_INFO,
                "INFO: setOwnerIds for [%s] with ownerid=[%ld], groupid=[%ld]", resource, owner,
                group);
        struct stat status;
        if (stat(resource, &status) != 0) {
            traceTo(traceLog, TRACE_ERROR,
                    "Error: setOwnerIds: Unable to stat partition %s errno=[%d]", resource, errno);
            return KZFI_ERR_NO_FILE;
        }
        traceTo(traceLog, TRACE_INFO,
                "INFO: setOwnerIds chown for [%s] with OwnerId=%ld, GroupId=%ld", resource, owner,
                group);
        const int changed = change();
        return changed != KZFI_OK ? changed : changeUntilSeen();
    }

  private:
    int change() const {
        if (chown(resource, static_cast<uid_t>(owner), static_cast<gid_t>(group)) != 0) {
            traceTo(traceLog, TRACE_ERROR,
                    "Error: set_owner_ids - chown: Unable to chown resource %s, errno=[%d].",
                    resource, errno);
            return KZFI_ERR_OWNER;
        }
        return KZFI_OK;
    }

    /// A change that never shows up is no error, on purpose.
    int changeUntilSeen() const {
        for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
            bool seen = false;
            const int result = changeAgain(attempt, seen);
            if (result != KZFI_OK) {
                return result;
            }
            if (seen) {
                traceTo(traceLog, TRACE_INFO, "setOwnerIds: Got matching gid, pid.");
                break;
            }
            traceTo(traceLog, TRACE_INFO,
                    "setOwnerIds: Waiting for system to read. Partition table.");
            sleep(WAIT_SECONDS);
        }
        traceTo(traceLog, TRACE_INFO, "INFO: setOwnerIds done");
        return KZFI_OK;
    }

    int changeAgain(int attempt, bool& seen) const {
        traceTo(traceLog, TRACE_INFO,
                "INFO: setOwnerIds chown retry count [%d] with OwnerId=%ld, GroupId=%ld", attempt,
                owner, group);
        const int changed = change();
        if (changed != KZFI_OK) {
            return changed;
        }
        struct stat status;
        if (stat(resource, &status) != 0) {
            traceTo(traceLog, TRACE_ERROR,
                    "Error: set_owner_ids - stat: Unable to stat resource %s, errno=[%d].",
                    resource, errno);
            return KZFI_ERR_NO_FILE;
        }
        const long user = static_cast<long>(status.st_uid);
        const long fileGroup = static_cast<long>(status.st_gid);
        traceTo(traceLog, TRACE_INFO,
                "INFO: stat on [%s], st.st_uid=[%ld], st.st_gid=[%ld] uid= [%ld], gid = [%ld]",
                resource, user, fileGroup, owner, group);
        seen = user == owner && fileGroup == group;
        return KZFI_OK;
    }

    const CFiTraceLogPtr& traceLog;
    const char* resource;
    const long owner;
    const long group;
};

} // namespace

int CFiPluginBase::setOwnerIds(std::string path, long owner, long group) {
    if (path.empty()) {
        traceTo(traceLog, TRACE_ERROR, "Error: setOwnerIds - invalid resource specified");
        return KZFI_ERR_INVALID;
    }
    return OwnerChange(traceLog, path, owner, group).run();
}

} // namespace kzfi_pdk_4_4

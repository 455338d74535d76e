// The base of every class that traces.
#ifndef CFITRACEABLE_H
#define CFITRACEABLE_H

#include "cfismartptr.h"

namespace kzfi_pdk_4_4 {

class CFiTraceLog;

/// The trace log of a plug-in context, as everything in the kit holds it.
using CFiTraceLogPtr = CFiSmartPtr<CFiTraceLog, CFiContextSingletonAllocator<CFiTraceLog>>;

/// Holds the trace log that an object writes to. Classes derive from it virtually, so that an
/// object made of several tracing classes has one log.
///
/// Threads: register the log before other threads use the object.
/// Ownership: one count of the log, given back by the destructor.
/// Errors: none; without a log nothing is traced.
class KZFI_PDK_API CFiTraceable {
  public:
    CFiTraceable();
    CFiTraceable(const CFiTraceable&) = delete;
    CFiTraceable& operator=(const CFiTraceable&) = delete;
    virtual ~CFiTraceable();

    /// From now on the object traces to log; an empty log ends its tracing.
    virtual void registerTraceLog(const CFiTraceLogPtr& log);

  protected:
    /// What registerTraceLog was given; empty before.
    CFiTraceLogPtr traceLog;
};

} // namespace kzfi_pdk_4_4

#endif

#include "RhuOs.h"
#include "SubProc.h"
#include "System/SubProc_p.h"
#include "ThreadCall.h"

namespace vyn {

struct CSubProcTimeOut::Record {
    rhu::os::Semaphore semAbort;
    rhu::os::Semaphore semDone;
    SThread thread;
};

namespace {

unsigned long ReadFuncWrapperT(void* timeOut) {
    static_cast<CSubProcTimeOut*>(timeOut)->LaunchFunction();
    return 0;
}

}  // namespace

CSubProcTimeOut::CSubProcTimeOut(CSubProc& child)
    : m_pRecord(std::make_unique<Record>()), m_nTimeOut(0), m_child(child) {
    m_pRecord->semAbort.init(0, 0x7fffffff);
    m_pRecord->semDone.init(0, 0x7fffffff);
}

CSubProcTimeOut::~CSubProcTimeOut() {
    const detail::CCancelOff cancelOff;  // the join is a cancellation point
    m_pRecord->semDone.put(1);
    // Joined as well, so that the thread is off the semaphores before they die.
    m_pRecord->thread.KillWait();
}

bool CSubProcTimeOut::Start(unsigned timeout) {
    m_nTimeOut = timeout;
    return Launch();
}

bool CSubProcTimeOut::Launch() {
    return m_pRecord->thread.Launch(ReadFuncWrapperT, this);
}

void CSubProcTimeOut::Abort() {
    m_pRecord->semAbort.put(1);
    m_pRecord->semDone.get();
}

void CSubProcTimeOut::LaunchFunction() {
    rhu::os::Time deadline;
    deadline.setNow();
    rhu::os::Time span;
    span.set(static_cast<double>(m_nTimeOut));
    deadline.add(span);
    const rhu::os::Status status = m_pRecord->semAbort.get(deadline);
    // From here on the child is either killed or left alone, never half killed by a cancellation.
    const detail::CCancelOff cancelOff;
    if (status == rhu::os::eStatusTimedOut) {
        m_child.kill();
    }
    m_pRecord->semDone.put(1);
}

}  // namespace vyn

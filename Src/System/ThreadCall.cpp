#include "ThreadCall.h"

#include <cerrno>
#include <cstdio>

namespace vyn {

namespace {

// Thread functions return their error; perror reads it from errno.
bool Succeeded(int result, const char* call) {
    errno = result;
    if (result != 0) {
        perror(call);
        errno = result;
    }
    return result == 0;
}

}  // namespace

bool SThread::Launch(unsigned long (*fn)(void*), void* arg) {
    m_pThread = new pthread_t;
    // The two kinds of function return a word in the same register, and the word is never looked at. The cast
    // goes by way of a plain function type, since no conversion between them is meant.
    const auto start = reinterpret_cast<void* (*)(void*)>(reinterpret_cast<void (*)()>(fn));
    if (!Succeeded(pthread_create(m_pThread, nullptr, start, arg), "pthread_create")) {
        Drop();
    }
    return m_pThread != nullptr;
}

void SThread::Kill() {
    if (m_pThread) {
        Cancel();
        Drop();
    }
}

void SThread::Wait() {
    if (m_pThread) {
        Join();
    }
}

void SThread::KillWait() {
    if (m_pThread) {
        Cancel();
        Join();
        Drop();
    }
}

void SThread::Cancel() {
    Succeeded(pthread_cancel(*m_pThread), "pthread_cancel");
}

void SThread::Join() {
    Succeeded(pthread_join(*m_pThread, nullptr), "pthread_join");
}

void SThread::Drop() {
    delete m_pThread;
    m_pThread = nullptr;
}

void ThreadCall::setSemaphore(rhu::os::Semaphore* semaphore) {
    m_pSemaphore = semaphore;
}

void ThreadCall::called() {
    if (m_pSemaphore) {
        m_pSemaphore->put(1);
    }
}

}  // namespace vyn

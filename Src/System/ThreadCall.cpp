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
    m_thread.emplace();
    m_bJoined = false;
    // The two kinds of function return a word in the same register, and the word is never looked at. The cast
    // goes by way of a plain function type, since no conversion between them is meant.
    const auto start = reinterpret_cast<void* (*)(void*)>(reinterpret_cast<void (*)()>(fn));
    if (!Succeeded(pthread_create(&*m_thread, nullptr, start, arg), "pthread_create")) {
        m_thread.reset();
    }
    return m_thread.has_value();
}

void SThread::Kill() {
    if (m_thread) {
        Cancel();
        m_thread.reset();
    }
}

void SThread::Wait() {
    if (m_thread) {
        Join();
    }
}

void SThread::KillWait() {
    if (m_thread) {
        Cancel();
        Join();
        m_thread.reset();
    }
}

void SThread::Cancel() {
    Succeeded(m_bJoined ? ESRCH : pthread_cancel(*m_thread), "pthread_cancel");
}

void SThread::Join() {
    const int result = m_bJoined ? ESRCH : pthread_join(*m_thread, nullptr);
    m_bJoined = m_bJoined || result == 0;
    Succeeded(result, "pthread_join");
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

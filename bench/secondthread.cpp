#include "bench/secondthread.h"

#include <pthread.h>
#include <sched.h>

namespace Tarq::Bench {

namespace {

SecondThread* gSecondThread = nullptr;

} // namespace

SecondThread& SecondThread::get() {
    return *gSecondThread;
}

SecondThread::SecondThread() : mThread([this] { work(); }) {
    gSecondThread = this;
}

SecondThread::~SecondThread() {
    mState.store(State::STATE_ENDING);
    mState.notify_all();
    mThread.join();
    gSecondThread = nullptr;
}

void SecondThread::start(std::function<void()> job) {
    mJob = std::move(job);
    mState.store(State::STATE_BUSY);
    mState.notify_all();
}

void SecondThread::wait() {
    mState.wait(State::STATE_BUSY);
    if (mFailure)
        std::rethrow_exception(std::exchange(mFailure, nullptr));
}

void SecondThread::work() {
    for (;;) {
        mState.wait(State::STATE_IDLE);
        if (mState.load() == State::STATE_ENDING)
            return;
        try {
            mJob();
        } catch (...) {
            mFailure = std::current_exception();
        }
        mState.store(State::STATE_IDLE);
        mState.notify_all();
    }
}

struct PinnedThread::Affinity {
    cpu_set_t processors;
};

PinnedThread::PinnedThread(uint32 processor) : mBefore(std::make_unique<Affinity>()) {
    check(pthread_getaffinity_np(pthread_self(), sizeof(cpu_set_t), &mBefore->processors) == 0,
          "the processors of the process cannot be read");
    cpu_set_t one;
    CPU_ZERO(&one);
    auto left = processor % static_cast<uint32>(CPU_COUNT(&mBefore->processors));
    for (std::size_t at = 0; at < CPU_SETSIZE; ++at) {
        if (CPU_ISSET(at, &mBefore->processors) && left-- == 0) {
            CPU_SET(at, &one);
            break;
        }
    }
    check(pthread_setaffinity_np(pthread_self(), sizeof(one), &one) == 0, "a thread cannot be pinned");
}

PinnedThread::~PinnedThread() {
    pthread_setaffinity_np(pthread_self(), sizeof(cpu_set_t), &mBefore->processors);
}

} // namespace Tarq::Bench

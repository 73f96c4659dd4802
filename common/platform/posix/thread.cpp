#include "common/platform/thread.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <ctime>
#include <exception>
#include <mutex>
#include <new>
#include <optional>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Tarq::Common::Platform {

namespace {

constexpr int cLowestNice = -20;
constexpr int cHighestNice = 19;

/// How the system is told that nobody needs the ended thread any more.
enum class JoinState : uint8 {
    JOIN_OPEN,   ///< not yet: somebody is to join it, or to detach it
    JOIN_BUSY,   ///< somebody is joining it
    JOIN_DONE,   ///< joined
    JOIN_NOBODY, ///< somebody else has started it, and joins it: it announces its end itself
};

struct ThreadObject {
    explicit ThreadObject(const ThreadStart& theStart) noexcept : start(theStart) {}

    const ThreadStart start; ///< all null for a thread that somebody else started
    std::mutex mutex;        ///< guards everything below
    std::condition_variable changed;
    pthread_t native{};
    uint32 users = 0; ///< open handles, and threads that wait
    bool running = true;
    JoinState join = JoinState::JOIN_NOBODY;
    std::optional<int> exitCode;
    int priority = 0;
    int inheritedPriority = 0; ///< the level of the thread that started this one, which the system hands on
    int normalNice = 0;        ///< the nice value that stands for level 0
    id_t systemID = 0;         ///< 0 while the thread does not run: the number may be another's
};

thread_local constinit ThreadObject* tCurrent = nullptr;

ThreadObject* objectOf(ThreadHandle handle) noexcept {
    return static_cast<ThreadObject*>(handle);
}

void destroy(ThreadObject* object) noexcept {
    const ThreadStart start = object->start;
    if (!start.release) {
        delete object;
        return;
    }
    object->~ThreadObject();
    start.release(start.argument);
}

/// The thread has ended, or is about to, and nobody knows it any more: nobody can join it.
void forget(ThreadObject* object) noexcept {
    if (object->join == JoinState::JOIN_OPEN)
        pthread_detach(object->native);
    destroy(object);
}

/// The ends of the scale are those of the nice value, the levels between are steps from what is normal. The system
/// itself keeps the sum in its range.
int niceOf(const ThreadObject& object) noexcept {
    if (object.priority >= 15)
        return cLowestNice;
    if (object.priority <= -15)
        return cHighestNice;
    return object.normalNice - 5 * std::clamp(object.priority, -2, 2);
}

/// How low a nice value the process may ask for without a right of its own.
int permittedNice() noexcept {
    rlimit limit{};
    if (getrlimit(RLIMIT_NICE, &limit) != 0)
        return cHighestNice;
    constexpr rlim_t cWholeRange = cHighestNice + 1 - cLowestNice;
    return cHighestNice + 1 - static_cast<int>(std::min(limit.rlim_cur, cWholeRange));
}

/// The object's mutex is held. The level is a wish: what the system refuses is granted as far as the process may go.
void applyPriority(const ThreadObject& object) noexcept {
    if (object.systemID == 0)
        return;
    const int wanted = niceOf(object);
    if (setpriority(PRIO_PROCESS, object.systemID, wanted) == 0)
        return;
    const int permitted = permittedNice();
    if (permitted < getpriority(PRIO_PROCESS, object.systemID))
        setpriority(PRIO_PROCESS, object.systemID, std::max(wanted, permitted));
}

/// Begins and ends the calling thread's use of its object, also when the thread is ended from within.
class Attendance {
public:
    explicit Attendance(ThreadObject& object) noexcept : mObject(object) {
        tCurrent = &object;
        const std::scoped_lock inside(object.mutex);
        object.systemID = static_cast<id_t>(gettid());
        if (object.priority != object.inheritedPriority)
            applyPriority(object);
    }
    ~Attendance() {
        tCurrent = nullptr;
        bool isLast;
        {
            const std::scoped_lock inside(mObject.mutex);
            mObject.running = false;
            mObject.systemID = 0;
            isLast = mObject.users == 0;
            mObject.changed.notify_all();
        }
        if (isLast)
            forget(&mObject);
    }
    Attendance(const Attendance&) = delete;
    Attendance& operator=(const Attendance&) = delete;

private:
    ThreadObject& mObject;
};

/// The attendance of a thread that somebody else started; over when the thread's own static objects go.
struct ForeignAttendance {
    std::optional<Attendance> attendance;
    bool over = false;

    ~ForeignAttendance() {
        attendance.reset();
        over = true;
    }
};

thread_local ForeignAttendance tForeign;

ThreadObject* attendForeignThread() noexcept {
    if (tForeign.over)
        return nullptr;
    // From the global heap: it may outlive the library, as the main thread does.
    auto* const object = new (std::nothrow) ThreadObject(ThreadStart{});
    if (!object)
        return nullptr;
    object->normalNice = getpriority(PRIO_PROCESS, 0);
    tForeign.attendance.emplace(*object);
    return object;
}

void setOwnExitCode(int code) noexcept {
    if (!tCurrent)
        return;
    const std::scoped_lock inside(tCurrent->mutex);
    tCurrent->exitCode = code;
}

void publishName(const char* name) noexcept {
    char shortened[16] = {};
    std::strncpy(shortened, name, sizeof(shortened) - 1);
    if (shortened[0] != '\0')
        pthread_setname_np(pthread_self(), shortened);
}

void* runThread(void* argument) {
    ThreadObject& object = *static_cast<ThreadObject*>(argument);
    const Attendance attendance(object);
    publishName(object.start.name);
    setOwnExitCode(object.start.function(object.start.argument));
    return nullptr;
}

void raiseStackSize(pthread_attr_t& attributes, std::size_t stackSize) noexcept {
    std::size_t standard = 0;
    pthread_attr_getstacksize(&attributes, &standard);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    if (stackSize > standard)
        pthread_attr_setstacksize(&attributes, (stackSize + page - 1) / page * page);
}

/// The mutex of the object is held, also on return.
bool joinNatively(ThreadObject& object, std::unique_lock<std::mutex>& inside) {
    struct Attempt {
        ThreadObject& object;
        std::unique_lock<std::mutex>& inside;
        bool joined = false;

        ~Attempt() {
            inside.lock();
            object.join = joined ? JoinState::JOIN_DONE : JoinState::JOIN_OPEN;
            object.changed.notify_all();
        }
    };
    object.join = JoinState::JOIN_BUSY;
    inside.unlock();
    Attempt attempt{object, inside};
    attempt.joined = pthread_join(object.native, nullptr) == 0;
    return attempt.joined;
}

void addUser(ThreadObject* object) noexcept {
    const std::scoped_lock inside(object->mutex);
    ++object->users;
}

/// A thread that runs is not forgotten: it may still tell somebody its handle.
void removeUser(ThreadObject* object) noexcept {
    bool isLast;
    {
        const std::scoped_lock inside(object->mutex);
        if (object->users == 0)
            return;
        --object->users;
        isLast = object->users == 0 && !object->running;
    }
    if (isLast)
        forget(object);
}

/// A thread that waits.
class Visit {
public:
    explicit Visit(ThreadObject* object) noexcept : mObject(object) { addUser(object); }
    ~Visit() { removeUser(mObject); }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

private:
    ThreadObject* mObject;
};

} // namespace

std::size_t getThreadObjectSize() noexcept {
    static_assert(alignof(ThreadObject) <= alignof(void*));
    return sizeof(ThreadObject);
}

bool startThread(const ThreadStart& start, ThreadHandle& handle) noexcept {
    auto* const object = ::new (start.memory) ThreadObject(start);
    object->users = 1;
    object->join = JoinState::JOIN_OPEN;
    if (ThreadObject* const creator = tCurrent) {
        const std::scoped_lock inside(creator->mutex);
        object->inheritedPriority = creator->priority;
        object->normalNice = creator->normalNice;
    } else {
        object->normalNice = getpriority(PRIO_PROCESS, 0);
    }

    pthread_attr_t attributes;
    bool started = pthread_attr_init(&attributes) == 0;
    if (started) {
        raiseStackSize(attributes, start.stackSize);
        // The new thread comes to this mutex first, and finds everything in place when it has passed.
        const std::scoped_lock gate(object->mutex);
        started = pthread_create(&object->native, &attributes, &runThread, object) == 0;
        if (started)
            handle = object;
        pthread_attr_destroy(&attributes);
    }
    if (!started)
        object->~ThreadObject();
    return started;
}

void openThread(ThreadHandle handle) noexcept {
    addUser(objectOf(handle));
}

void closeThread(ThreadHandle handle) noexcept {
    removeUser(objectOf(handle));
}

ThreadHandle getCurrentThread() noexcept {
    return tCurrent ? tCurrent : attendForeignThread();
}

int getCurrentThreadID() noexcept {
    return gettid();
}

bool waitForThread(ThreadHandle handle, std::optional<int>& exitCode) {
    ThreadObject& object = *objectOf(handle);
    if (&object == tCurrent)
        return false;
    const Visit visit(&object);
    std::unique_lock inside(object.mutex);
    const auto hasEnded = [&] {
        return object.join == JoinState::JOIN_DONE || (object.join == JoinState::JOIN_NOBODY && !object.running);
    };
    object.changed.wait(inside, [&] { return hasEnded() || object.join == JoinState::JOIN_OPEN; });
    if (!hasEnded() && !joinNatively(object, inside))
        return false;
    exitCode = object.exitCode;
    return true;
}

void exitThread(int code) {
    setOwnExitCode(code);
    pthread_exit(nullptr);
}

void resumeThreadEnd() {
    // The end of a thread unwinds the stack as an exception does, but is no exception of the language.
    if (!std::current_exception())
        throw;
}

void setThreadPriority(ThreadHandle handle, int priority) noexcept {
    ThreadObject& object = *objectOf(handle);
    const std::scoped_lock inside(object.mutex);
    object.priority = priority;
    applyPriority(object);
}

int getThreadPriority(ThreadHandle handle) noexcept {
    ThreadObject& object = *objectOf(handle);
    const std::scoped_lock inside(object.mutex);
    return object.priority;
}

void sleepThread(uint32 milliseconds) noexcept {
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += static_cast<time_t>(milliseconds / 1000);
    end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
    if (end.tv_nsec >= 1000000000) {
        ++end.tv_sec;
        end.tv_nsec -= 1000000000;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

} // namespace Tarq::Common::Platform

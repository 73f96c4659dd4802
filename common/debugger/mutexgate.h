#pragma once

#include "common/export.h"
#include "common/threading/spinlock.h"
#include "common/types.h"

#include <atomic>

namespace Tarq::Common::Debugger {

/// A gate at which one thread at a time waits until the gate's owner lets it pass.
///
///     gate.activate();                    // the owner
///     ...
///     const bool isClosed = gate.registerPublic(); // another thread, under a lock that the owner needs to answer
///     lock.unlock();
///     if (isClosed)
///         gate.waitForPass();
///
/// Who is registered may be let pass from that moment on, even before it waits. A pass is for the thread that is
/// registered then: one that comes again waits again. Whoever comes while another thread is registered waits in front
/// of the gate for its turn.
///
/// Threads: any. The owner is the thread that has called `activate`; it never waits at its own gate. It stays the owner
/// of a gate that it has deactivated while a thread is registered, until that one has passed.
/// Destroy it while nobody is at the gate; a thread that sleeps in `waitForPass` has left it when the pass is given.
class TARQ_API MutexGate {
public:
    MutexGate() noexcept = default;
    ~MutexGate() = default;
    MutexGate(const MutexGate&) = delete;
    MutexGate& operator=(const MutexGate&) = delete;

    /// Closes the gate, and makes the calling thread its owner.
    ///
    /// Asserts "Tried to activate MutexGate for second time", and "Public gate was already locked" when another thread
    /// still has to let somebody out; nothing changes then.
    void activate();
    /// Opens the gate for those that come from now on. A thread that is registered waits on.
    ///
    /// Asserts "Tried to deactivate MutexGate that wasn't active", and "Mutex is not owned, so it cannot be unlocked"
    /// on another thread than the owner's; nothing changes then.
    void deactivate();
    /// Needs no lock: what is true now may not be so any more when the caller looks at it.
    bool isActivated() const noexcept { return mActive.load(std::memory_order_acquire); }

    /// Waits for a pass; returns at once when the gate is not active. Asserts as `registerPublic` does.
    void enterPublic() {
        if (registerPublic())
            waitForPass();
    }
    /// The first half of `enterPublic`: registers the calling thread. False when there is nothing to wait for: the gate
    /// is not active, or the caller is the owner, or is registered already.
    ///
    /// Asserts "Public gate is already occupied" while a thread is registered; if it is another one, waits then until
    /// it has been let pass.
    bool registerPublic();
    /// The second half: returns when the calling thread is not registered any more. Without being registered, that is
    /// at once.
    void waitForPass();
    /// Takes the registration of the calling thread back, as if it had been let pass.
    void leavePublic();

    /// Lets the registered thread pass; the gate is closed again at once. Returns whether it did.
    ///
    /// Asserts "A public thread has to be waiting at the gate to allow a secure public pass", and "Mutex is not owned,
    /// so it cannot be unlocked" on another thread than the owner's; nothing changes then.
    bool allowOnePublicPass();
    /// Opens the gate, and lets out who is there; nobody owns it then. Any thread may do this, at any time.
    void close();

private:
    struct Waiter;

    bool admit(uint32 thread) noexcept;
    Waiter* letOut() noexcept;
    static void wake(Waiter* released) noexcept;

    Threading::SpinLock mGuard{Threading::cSpinCount}; ///< of what follows
    std::atomic<bool> mActive{false};
    uint32 mOwner = 0;         ///< token of a thread, 0 when there is none
    uint32 mPublic = 0;        ///< token of the registered thread, 0 when there is none
    Waiter* mWaiter = nullptr; ///< of the registered thread once it waits
    Waiter* mFirst = nullptr;  ///< of those in front of the gate, who has waited longest
    Waiter* mLast = nullptr;
};

} // namespace Tarq::Common::Debugger

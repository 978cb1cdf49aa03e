// SPDX-License-Identifier: MIT
//
// Tells ThreadSanitizer how Qt's threads wait for one another. Qt is not compiled with it: its mutexes live
// on atomic instructions and system calls that ThreadSanitizer does not see, and so everything that is handed
// from one thread to another through Qt would look like a race. Instead of hiding such reports, where a true
// race would be hidden, too, each function below stands in front of Qt's function of the same name and says
// what that one guarantees: what a thread did before Release(key) is done for the thread that comes back from
// Acquire(key) later.
//
// Linked into the tests when they are built with KIV_SANITIZE=thread; not compiled with ThreadSanitizer
// itself.
#include <QCoreApplication>
#include <QMetaObject>
#include <QMutex>
#include <QObject>
#include <QThread>

#include <cstring>

#include <dlfcn.h>

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);
}

namespace {

void Acquire(const void* key)
{
    __tsan_acquire(const_cast<void*>(key));
}

void Release(const void* key)
{
    __tsan_release(const_cast<void*>(key));
}

bool AcquireIf(bool isSo, const void* key)
{
    if (isSo) {
        Acquire(key);
    }
    return isSo;
}

/** Qt's own function, of which a function below has the symbol. */
template <typename Function>
Function Original(const char* symbol)
{
    void* const address = ::dlsym(RTLD_NEXT, symbol);
    if (address == nullptr) {
        qFatal("Qt has no function %s", symbol);
    }
    Function function = nullptr;
    static_assert(sizeof function == sizeof address);
    std::memcpy(&function, &address, sizeof function);
    return function;
}

#define KIV_ORIGINAL(Function, symbol) static const auto original = Original<Function>(symbol)

/** Around each event that Qt delivers: what was done before it was posted, and who waits for its end. */
bool DeliverInOrder(void** data)
{
    thread_local const QEvent* inDelivery = nullptr;
    auto* const receiver = static_cast<QObject*>(data[0]);
    auto* const event = static_cast<QEvent*>(data[1]);
    if (inDelivery == event) {
        inDelivery = nullptr;
        return false; // Qt goes on as if there were no callback
    }
    inDelivery = event;
    Acquire(receiver);
    *static_cast<bool*>(data[2]) = QCoreApplication::sendEvent(receiver, event);
    Release(receiver); // the address alone: the receiver may be gone
    return true;
}

const bool isDeliveryWatched = QInternal::registerCallback(QInternal::EventNotifyCallback, &DeliverInOrder);

} // namespace

// Mutexes. QBasicMutex::lock and unlock are inline and visible as long as nobody has to wait.

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    KIV_ORIGINAL(void (*)(QMutex*), "_ZN6QMutex4lockEv");
    original(this);
    Acquire(this);
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    KIV_ORIGINAL(bool (*)(QMutex*, int), "_ZN6QMutex7tryLockEi");
    return AcquireIf(original(this, timeout), this);
}

void QMutex::unlock() noexcept
{
    KIV_ORIGINAL(void (*)(QMutex*), "_ZN6QMutex6unlockEv");
    Release(this);
    original(this);
}

void QBasicMutex::lockInternal() QT_MUTEX_LOCK_NOEXCEPT
{
    KIV_ORIGINAL(void (*)(QBasicMutex*), "_ZN11QBasicMutex12lockInternalEv");
    original(this);
    Acquire(this);
}

void QBasicMutex::unlockInternal() noexcept
{
    KIV_ORIGINAL(void (*)(QBasicMutex*), "_ZN11QBasicMutex14unlockInternalEv");
    Release(this);
    original(this);
}

// Events.

void QCoreApplication::postEvent(QObject* receiver, QEvent* event, int priority)
{
    KIV_ORIGINAL(void (*)(QObject*, QEvent*, int), "_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    Release(receiver);
    original(receiver, event, priority);
}

void QObject::deleteLater()
{
    KIV_ORIGINAL(void (*)(QObject*), "_ZN7QObject11deleteLaterEv");
    Release(this);
    original(this);
}

bool QMetaObject::invokeMethod(QObject* object, const char* member, Qt::ConnectionType type,
                               QGenericReturnArgument result, QGenericArgument a0, QGenericArgument a1,
                               QGenericArgument a2, QGenericArgument a3, QGenericArgument a4,
                               QGenericArgument a5, QGenericArgument a6, QGenericArgument a7,
                               QGenericArgument a8, QGenericArgument a9)
{
    using Function =
        bool (*)(QObject*, const char*, Qt::ConnectionType, QGenericReturnArgument, QGenericArgument,
                 QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument,
                 QGenericArgument, QGenericArgument, QGenericArgument, QGenericArgument);
    KIV_ORIGINAL(Function, "_ZN11QMetaObject12invokeMethodEP7QObjectPKcN2Qt14ConnectionTypeE22QGenericReturn"
                           "Argument16QGenericArgumentS7_S7_S7_S7_S7_S7_S7_S7_S7_");
    Release(object);
    const bool isInvoked = original(object, member, type, result, a0, a1, a2, a3, a4, a5, a6, a7, a8, a9);
    if (type == Qt::BlockingQueuedConnection) {
        Acquire(object);
    }
    return isInvoked;
}

bool QMetaObject::invokeMethodImpl(QObject* object, QtPrivate::QSlotObjectBase* slot, Qt::ConnectionType type,
                                   void* result)
{
    using Function = bool (*)(QObject*, QtPrivate::QSlotObjectBase*, Qt::ConnectionType, void*);
    KIV_ORIGINAL(Function, "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14"
                           "ConnectionTypeEPv");
    slot->ref(); // Qt gives up the slot of a blocking invocation before this function is back
    Release(object);
    const bool isInvoked = original(object, slot, type, result);
    if (type == Qt::BlockingQueuedConnection) {
        Acquire(object);
    }
    slot->destroyIfLastRef();
    return isInvoked;
}

// An object is handed to another thread with all that was done to it.
void QObject::moveToThread(QThread* thread)
{
    KIV_ORIGINAL(void (*)(QObject*, QThread*), "_ZN7QObject12moveToThreadEP7QThread");
    Release(this);
    original(this, thread);
}

// The end of threads; their beginning is visible.

void QThread::start(Priority priority)
{
    KIV_ORIGINAL(void (*)(QThread*, Priority), "_ZN7QThread5startENS_8PriorityE");
    QObject::connect(
        this, &QThread::finished, this, [this] { Release(this); }, Qt::DirectConnection);
    original(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    KIV_ORIGINAL(bool (*)(QThread*, QDeadlineTimer), "_ZN7QThread4waitE14QDeadlineTimer");
    return AcquireIf(original(this, deadline), this);
}

bool QThread::wait(unsigned long milliseconds)
{
    KIV_ORIGINAL(bool (*)(QThread*, unsigned long), "_ZN7QThread4waitEm");
    return AcquireIf(original(this, milliseconds), this);
}

bool QThread::isFinished() const
{
    KIV_ORIGINAL(bool (*)(const QThread*), "_ZNK7QThread10isFinishedEv");
    return AcquireIf(original(this), this);
}

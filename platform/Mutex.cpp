#include "webstep/platform/Mutex.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace webstep::platform {
namespace {

constexpr DWORD kErrorInvalidHandle = 6;
constexpr DWORD kErrorNotOwner = 288;
constexpr DWORD kErrorAlreadyExists = 183;

struct MutexObject {
    std::mutex lock;
    std::condition_variable freed;
    std::thread::id owner;  // default id: nobody
    unsigned long count = 0;
    bool abandoned = false;
    std::string name;
};

struct MutexHandle {
    std::shared_ptr<MutexObject> object;
};

// Live handles and named mutexes, process-wide.
struct Registry {
    std::mutex lock;
    std::set<MutexHandle*> handles;
    std::map<std::string, std::weak_ptr<MutexObject>> named;
};

Registry& TheRegistry() {
    static Registry* registry = new Registry();  // never destroyed: used by exiting threads
    return *registry;
}

std::shared_ptr<MutexObject> Resolve(HANDLE handle) {
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    auto found = registry.handles.find(static_cast<MutexHandle*>(handle));
    if (found == registry.handles.end()) {
        return nullptr;
    }
    return (*found)->object;
}

// The mutexes that the current thread owns; they are abandoned when it ends.
struct OwnedMutexes {
    std::vector<std::weak_ptr<MutexObject>> owned;

    ~OwnedMutexes() {
        const std::thread::id self = std::this_thread::get_id();
        for (const std::weak_ptr<MutexObject>& weak : owned) {
            if (std::shared_ptr<MutexObject> object = weak.lock()) {
                std::lock_guard<std::mutex> guard(object->lock);
                if (object->owner == self) {
                    object->owner = std::thread::id();
                    object->count = 0;
                    object->abandoned = true;
                    object->freed.notify_one();
                }
            }
        }
    }

    void Add(const std::shared_ptr<MutexObject>& object) { owned.push_back(object); }
    void Remove(const MutexObject* object) {
        owned.erase(std::remove_if(owned.begin(), owned.end(),
                                   [object](const std::weak_ptr<MutexObject>& weak) {
                                       const std::shared_ptr<MutexObject> held = weak.lock();
                                       return !held || held.get() == object;
                                   }),
                    owned.end());
    }
};

OwnedMutexes& ThreadOwned() {
    thread_local OwnedMutexes owned;
    return owned;
}

// Takes ownership; the object's lock is held by the caller.
DWORD TakeOwnership(const std::shared_ptr<MutexObject>& object) {
    object->owner = std::this_thread::get_id();
    object->count = 1;
    ThreadOwned().Add(object);
    if (object->abandoned) {
        object->abandoned = false;
        return WAIT_ABANDONED;
    }
    return WAIT_OBJECT_0;
}

HANDLE NewHandle(const std::shared_ptr<MutexObject>& object) {
    auto* handle = new MutexHandle{object};
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> guard(registry.lock);
    registry.handles.insert(handle);
    return handle;
}

}  // namespace

HANDLE CreateMutexA(void*, BOOL initialOwner, LPCSTR name) {
    std::shared_ptr<MutexObject> object;
    bool existed = false;
    if (name != nullptr && *name != '\0') {
        Registry& registry = TheRegistry();
        std::lock_guard<std::mutex> guard(registry.lock);
        object = registry.named[name].lock();
        existed = object != nullptr;
        if (!existed) {
            object = std::make_shared<MutexObject>();
            object->name = name;
            registry.named[name] = object;
        }
        // Forget names whose mutex has gone.
        for (auto it = registry.named.begin(); it != registry.named.end();) {
            it = it->second.expired() ? registry.named.erase(it) : std::next(it);
        }
    } else {
        object = std::make_shared<MutexObject>();
    }
    if (initialOwner && !existed) {
        std::lock_guard<std::mutex> guard(object->lock);
        TakeOwnership(object);
    }
    SetLastError(existed ? kErrorAlreadyExists : ERROR_SUCCESS);
    return NewHandle(object);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const std::shared_ptr<MutexObject> object = Resolve(handle);
    if (!object) {
        SetLastError(kErrorInvalidHandle);
        return WAIT_FAILED;
    }
    const std::thread::id self = std::this_thread::get_id();
    std::unique_lock<std::mutex> guard(object->lock);
    if (object->owner == self) {
        ++object->count;
        return WAIT_OBJECT_0;
    }
    auto isFree = [&object] { return object->owner == std::thread::id(); };
    if (milliseconds == INFINITE) {
        object->freed.wait(guard, isFree);
    } else if (!object->freed.wait_for(guard, std::chrono::milliseconds(milliseconds), isFree)) {
        return WAIT_TIMEOUT;
    }
    return TakeOwnership(object);
}

BOOL ReleaseMutex(HANDLE handle) {
    const std::shared_ptr<MutexObject> object = Resolve(handle);
    if (!object) {
        SetLastError(kErrorInvalidHandle);
        return 0;
    }
    std::unique_lock<std::mutex> guard(object->lock);
    if (object->owner != std::this_thread::get_id()) {
        SetLastError(kErrorNotOwner);
        return 0;
    }
    if (--object->count == 0) {
        object->owner = std::thread::id();
        guard.unlock();
        ThreadOwned().Remove(object.get());
        object->freed.notify_one();
    }
    return 1;
}

BOOL CloseHandle(HANDLE handle) {
    MutexHandle* closed = nullptr;
    {
        Registry& registry = TheRegistry();
        std::lock_guard<std::mutex> guard(registry.lock);
        auto found = registry.handles.find(static_cast<MutexHandle*>(handle));
        if (found == registry.handles.end()) {
            SetLastError(kErrorInvalidHandle);
            return 0;
        }
        closed = *found;
        registry.handles.erase(found);
    }
    delete closed;  // outside the registry lock: may free the mutex
    return 1;
}

}  // namespace webstep::platform

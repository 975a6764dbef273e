// The base of reference-counted objects.
#ifndef ORVO_REFCOUNT_H
#define ORVO_REFCOUNT_H

#include <atomic>

#include "xplatform/common/orvobase.h"

// An object that lives as long as somebody holds a reference to it. The creator holds the first one, so create it with
// new and give that reference up with Release().
//
// Threads: every operation may be called from any thread; the last Release destroys the object on its own thread.
class ORVO_API CRefCount {
  public:
    CRefCount() = default;
    CRefCount(const CRefCount&) = delete;
    CRefCount& operator=(const CRefCount&) = delete;
    virtual ~CRefCount();

    // Takes one more reference.
    virtual void AddRef();
    // Gives one reference up. 1 when it was the last and the object is destroyed, else 0.
    virtual int Release();
    // The object itself.
    virtual CRefCount* SafeInstance();
    // Whether calls may still be made on behalf of this object: true, unless a derived class says otherwise.
    virtual bool IsValid();

  private:
    std::atomic<int> references_{1};
};

// The same under the name that task threads derive from.
class ORVO_API CRefCountSafe : public CRefCount {
  public:
    CRefCountSafe() = default;
    ~CRefCountSafe() override;
};

#endif

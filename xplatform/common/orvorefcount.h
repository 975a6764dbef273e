// The base of reference-counted objects.
#ifndef ORVO_REFCOUNT_H
#define ORVO_REFCOUNT_H

#include <atomic>

#include "xplatform/common/orvobase.h"

// A reference-counted object. Create it with new; the creator holds the first reference and releases it with
// Release().
//
// Threads: every operation may be called from any thread; the last Release destroys the object on its own thread.
class ORVO_API CRefCount {
  public:
    CRefCount() = default;
    CRefCount(const CRefCount&) = delete;
    CRefCount& operator=(const CRefCount&) = delete;
    virtual ~CRefCount();

    // Adds a reference.
    virtual void AddRef();
    // Releases a reference. Returns 1 if it was the last one and the object was destroyed, else 0.
    virtual int Release();
    // Returns the object itself.
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

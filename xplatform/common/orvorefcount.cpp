// The base of reference-counted objects.
#include "xplatform/common/orvorefcount.h"

CRefCount::~CRefCount() = default;
CRefCountSafe::~CRefCountSafe() = default;

void CRefCount::AddRef() {
    references_.fetch_add(1, std::memory_order_relaxed);
}

int CRefCount::Release() {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return 0;
    delete this;
    return 1;
}

CRefCount* CRefCount::SafeInstance() {
    return this;
}

bool CRefCount::IsValid() {
    return true;
}

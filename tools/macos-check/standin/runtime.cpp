// A small Objective-C runtime: the 64-bit macOS object layout on ELF, so that the adapter's sources run unchanged on
// this machine. Classes, messages, reference counts, pools, exceptions; no ivar sliding, no forwarding, no weak
// references. Only for x86-64: a message is a jump, and that takes a few lines of assembler at the end.
#include <Block.h>
#include <cxxabi.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace {

using Selector = const char*;  // interned: equal names are equal pointers
using Method = void (*)();

struct MethodEntry {
    Selector name;
    const char* types;
    Method code;
};
struct MethodList {
    uint32_t entrySize;
    uint32_t count;
    MethodEntry entries[1];
};
struct ClassFacts {
    uint32_t flags, instanceStart, instanceSize, reserved;
    const uint8_t* layout;
    const char* name;
    MethodList* methods;
};
struct Class {
    Class* isa;
    Class* super;
    void* cache;
    void* vtable;
    ClassFacts* facts;
};
struct Object {
    Class* isa;
};
struct Count {  // in front of every object
    std::atomic<long> references;
    long padding;
};

std::atomic<long> live{0};

Selector intern(const char* name) {
    static std::mutex& lock = *new std::mutex;
    static auto& names = *new std::set<std::string>;
    std::lock_guard guard(lock);
    return names.insert(name).first->c_str();
}

using Methods = std::unordered_map<Selector, Method>;
std::unordered_map<Class*, Methods>& tables() {
    static auto& all = *new std::unordered_map<Class*, Methods>;
    return all;
}

Method find(Class* kind, Selector selector) {
    for (; kind; kind = kind->super) {
        const auto table = tables().find(kind);
        if (table == tables().end()) continue;
        const auto method = table->second.find(selector);
        if (method != table->second.end()) return method->second;
    }
    return nullptr;
}

Method findOrDie(Class* kind, Selector selector) {
    if (const Method method = find(kind, selector)) return method;
    std::fprintf(stderr, "stand-in: %s has no method %s\n", kind->facts->name, selector);
    std::abort();
}

Count& countOf(Object* object) {
    return reinterpret_cast<Count*>(object)[-1];
}

// The C++ members of an object: constructed from the root down, destroyed the other way.
void runStructors(Class* kind, Object* object, bool construct) {
    static const Selector constructor = intern(".cxx_construct");
    static const Selector destructor = intern(".cxx_destruct");
    if (!kind) return;
    if (construct) runStructors(kind->super, object, construct);
    const Methods& own = tables()[kind];
    const auto method = own.find(construct ? constructor : destructor);
    if (method != own.end()) reinterpret_cast<void (*)(Object*, Selector)>(method->second)(object, method->first);
    if (!construct) runStructors(kind->super, object, construct);
}

}  // namespace

extern "C" {
extern Class* __start_objc_classlist[] __attribute__((weak));
extern Class* __stop_objc_classlist[] __attribute__((weak));
extern Selector __start_objc_selrefs[] __attribute__((weak));
extern Selector __stop_objc_selrefs[] __attribute__((weak));
extern Class OBJC_CLASS_$_StandInConstantString;
extern void* _NSConcreteMallocBlock[32];
extern void* _NSConcreteStackBlock[32];
extern void* _NSConcreteGlobalBlock[32];
extern char _objc_empty_cache[1];
extern char _objc_empty_vtable[1];
char _objc_empty_cache[1], _objc_empty_vtable[1];
}

namespace {

void registerMethods(Class* kind) {
    Methods& table = tables()[kind];
    MethodList* const list = kind->facts->methods;
    for (uint32_t i = 0; list && i < list->count; ++i) {
        MethodEntry& entry = list->entries[i];
        table.emplace(intern(entry.name), entry.code);
    }
}

[[gnu::constructor(101)]] void load() {
    for (Selector* reference = __start_objc_selrefs; reference < __stop_objc_selrefs; ++reference)
        *reference = intern(*reference);
    for (Class** kind = __start_objc_classlist; kind < __stop_objc_classlist; ++kind) {
        registerMethods(*kind);
        registerMethods((*kind)->isa);
    }
}

bool isBlock(Object* object) {
    const void* isa = object->isa;
    return isa == _NSConcreteMallocBlock || isa == _NSConcreteStackBlock || isa == _NSConcreteGlobalBlock;
}
bool isConstant(Object* object) {
    constexpr uint32_t kMetaClass = 1;
    return object->isa == &OBJC_CLASS_$_StandInConstantString || (object->isa->facts->flags & kMetaClass);
}

// The armed message of this thread.
thread_local long sent = 0;
thread_local long armed = 0;
thread_local Selector raised = nullptr;

struct Pool {
    std::vector<Object*> objects;
    std::vector<size_t> marks;
};
thread_local Pool pool;

}  // namespace

namespace standin {

long liveObjects() {
    return live;
}
void armMessage(long number) {
    armed = number;
    sent = 0;
    raised = nullptr;
}
long messagesSent() {
    return sent;
}
const char* armedSelector() {
    return raised;
}
[[noreturn]] void raise(const char* name, const char* reason);

}  // namespace standin

static void raiseForMessage() {
    standin::raise("NSGenericException", raised);
}

extern "C" {

Method standin_find(Object* receiver, Selector selector) {
    return findOrDie(receiver->isa, selector);
}
// Of the adapter's messages, whose name the check changes.
Method standin_find_counted(Object* receiver, Selector selector) {
    const Method method = findOrDie(receiver->isa, selector);
    if (++sent != armed) return method;
    raised = selector;
    return raiseForMessage;
}
struct Super {
    Object* receiver;
    Class* kind;
};
Method standin_find_super(Super* super, Selector selector) {
    return findOrDie(super->kind->super, selector);
}

Object* standin_create(Class* kind) {
    const size_t size = kind->facts->instanceSize < sizeof(Object) ? sizeof(Object) : kind->facts->instanceSize;
    auto* count = static_cast<Count*>(std::calloc(1, sizeof(Count) + size));
    count->references = 1;
    auto* object = reinterpret_cast<Object*>(count + 1);
    object->isa = kind;
    runStructors(kind, object, true);
    ++live;
    return object;
}
void standin_dispose(Object* object) {
    runStructors(object->isa, object, false);
    --live;
    std::free(&countOf(object));
}
bool standin_is_kind(Object* object, Class* kind) {
    for (Class* own = object->isa; own; own = own->super)
        if (own == kind) return true;
    return false;
}
void standin_send(Object* object, Selector selector, Object* argument) {
    reinterpret_cast<void (*)(Object*, Selector, Object*)>(findOrDie(object->isa, selector))(object, selector,
                                                                                             argument);
}
Selector standin_selector(const char* name) {
    return intern(name);
}

Object* objc_retain(Object* object) {
    if (!object) return object;
    if (isBlock(object)) return reinterpret_cast<Object*>(_Block_copy(object));
    if (!isConstant(object)) ++countOf(object).references;
    return object;
}
void objc_release(Object* object) {
    if (!object) return;
    if (isBlock(object)) return _Block_release(object);
    if (isConstant(object) || --countOf(object).references != 0) return;
    static const Selector dealloc = intern("dealloc");
    reinterpret_cast<void (*)(Object*, Selector)>(findOrDie(object->isa, dealloc))(object, dealloc);
}
Object* objc_retainBlock(Object* block) {
    return block ? reinterpret_cast<Object*>(_Block_copy(block)) : block;
}
void objc_storeStrong(Object** place, Object* object) {
    Object* const old = *place;
    objc_retain(object);
    *place = object;
    objc_release(old);
}

void* objc_autoreleasePoolPush() {
    pool.marks.push_back(pool.objects.size());
    return reinterpret_cast<void*>(pool.marks.size());
}
// Also drops the pools inside it, which an exception leaves behind.
void objc_autoreleasePoolPop(void* token) {
    const size_t level = reinterpret_cast<size_t>(token);
    const size_t mark = pool.marks.at(level - 1);
    while (pool.objects.size() > mark) {
        Object* const object = pool.objects.back();
        pool.objects.pop_back();
        objc_release(object);
    }
    pool.marks.resize(level - 1);
}
static void requirePool() {
    if (!pool.marks.empty() || pool.objects.empty()) return;
    std::fprintf(stderr, "stand-in: an object of %s is autoreleased without a pool\n",
                 pool.objects.back()->isa->facts->name);
    std::abort();
}
Object* objc_autorelease(Object* object) {
    if (object) pool.objects.push_back(object);
    requirePool();
    return object;
}
// What a callee has just put into the pool is taken out again by a caller that keeps it, as the real runtime does; for
// that it needs no pool.
static thread_local Object* handedOver = nullptr;
Object* objc_autoreleaseReturnValue(Object* object) {
    requirePool();
    if (object) pool.objects.push_back(object);
    return handedOver = object;
}
static bool takeHandedOver(Object* object) {
    const bool isHandedOver = object && object == handedOver && !pool.objects.empty() && pool.objects.back() == object;
    handedOver = nullptr;
    if (isHandedOver) pool.objects.pop_back();
    return isHandedOver;
}
Object* objc_retainAutoreleasedReturnValue(Object* object) {
    return takeHandedOver(object) ? object : objc_retain(object);
}
Object* objc_unsafeClaimAutoreleasedReturnValue(Object* object) {
    if (takeHandedOver(object)) objc_release(object);
    return object;
}
Object* objc_retainAutorelease(Object* object) {
    return objc_autorelease(objc_retain(object));
}
Object* objc_retainAutoreleaseReturnValue(Object* object) {
    return objc_autoreleaseReturnValue(objc_retain(object));
}
void objc_enumerationMutation(Object*) {
    std::abort();
}

// Properties that the compiler synthesizes.
static Object** slot(Object* object, long offset) {
    return reinterpret_cast<Object**>(reinterpret_cast<char*>(object) + offset);
}
Object* objc_getProperty(Object* self, Selector, long offset, bool) {
    return objc_retainAutoreleaseReturnValue(*slot(self, offset));
}
void objc_setProperty_nonatomic(Object* self, Selector, Object* value, long offset) {
    objc_storeStrong(slot(self, offset), value);
}
void objc_setProperty_nonatomic_copy(Object* self, Selector, Object* value, long offset) {
    objc_storeStrong(slot(self, offset), value);
}
void objc_setProperty_atomic(Object* self, Selector, Object* value, long offset) {
    objc_storeStrong(slot(self, offset), value);
}
void objc_setProperty_atomic_copy(Object* self, Selector, Object* value, long offset) {
    objc_storeStrong(slot(self, offset), value);
}
void objc_copyStruct(void* target, const void* source, size_t size, bool, bool) {
    std::memcpy(target, source, size);
}

// Exceptions. An object is thrown as a C++ exception whose type information is laid out like the C++ library's, with
// functions of ours where the unwinder asks whether a handler takes it.
struct ExceptionType {
    const void* const* vtable;
    const char* name;
    Class* kind;  // null: id, which takes every object
};
extern const void* const objc_ehtype_vtable[];
static void destroyType(ExceptionType*) {}
static bool isPointer(const ExceptionType*) {
    return true;
}
static bool isFunction(const ExceptionType*) {
    return false;
}
static bool takes(const ExceptionType* handler, const ExceptionType* thrown, void** object, unsigned) {
    if (thrown->vtable != objc_ehtype_vtable + 2) return false;  // an exception of C++
    return !handler->kind || standin_is_kind(static_cast<Object*>(*object), handler->kind);
}
static bool castsUp(const ExceptionType*, const void*, void**) {
    return false;
}
const void* const objc_ehtype_vtable[] = {nullptr,
                                          nullptr,
                                          reinterpret_cast<void*>(destroyType),
                                          reinterpret_cast<void*>(destroyType),
                                          reinterpret_cast<void*>(isPointer),
                                          reinterpret_cast<void*>(isFunction),
                                          reinterpret_cast<void*>(takes),
                                          reinterpret_cast<void*>(castsUp)};
extern ExceptionType OBJC_EHTYPE_id;
ExceptionType OBJC_EHTYPE_id = {objc_ehtype_vtable + 2, "id", nullptr};

[[noreturn]] void objc_exception_throw(Object* object) {
    static std::mutex& lock = *new std::mutex;
    static auto& types = *new std::unordered_map<Class*, ExceptionType>;
    ExceptionType* type = nullptr;
    {
        std::lock_guard guard(lock);
        type = &types.emplace(object->isa, ExceptionType{objc_ehtype_vtable + 2, object->isa->facts->name, object->isa})
                    .first->second;
    }
    void* const memory = abi::__cxa_allocate_exception(sizeof(Object*));
    *static_cast<Object**>(memory) = objc_retain(object);
    abi::__cxa_throw(memory, reinterpret_cast<std::type_info*>(type),
                     [](void* thrown) { objc_release(*static_cast<Object**>(thrown)); });
}
Object* objc_begin_catch(void* exception) {
    return static_cast<Object*>(abi::__cxa_begin_catch(exception));
}
void objc_end_catch() {
    abi::__cxa_end_catch();
}
[[noreturn]] void objc_exception_rethrow() {
    abi::__cxa_rethrow();
}
}

// A message finds its method and jumps there with all its arguments as they came: six whole numbers, eight
// floating-point ones, and in rax how many of those there are. A message to nothing answers zero in every register;
// a structure that goes through memory the caller has cleared.
asm(R"(
.text
.globl __objc_personality_v0
__objc_personality_v0: jmp __gxx_personality_v0@PLT
.macro FIND name, self, selector
    push %rbp
    mov %rsp, %rbp
    sub $192, %rsp
    mov %rdi, (%rsp)
    mov %rsi, 8(%rsp)
    mov %rdx, 16(%rsp)
    mov %rcx, 24(%rsp)
    mov %r8, 32(%rsp)
    mov %r9, 40(%rsp)
    mov %rax, 48(%rsp)
    movups %xmm0, 64(%rsp)
    movups %xmm1, 80(%rsp)
    movups %xmm2, 96(%rsp)
    movups %xmm3, 112(%rsp)
    movups %xmm4, 128(%rsp)
    movups %xmm5, 144(%rsp)
    movups %xmm6, 160(%rsp)
    movups %xmm7, 176(%rsp)
    mov \self(%rsp), %rdi
    mov \selector(%rsp), %rsi
    call \name@PLT
    mov %rax, %r11
    movups 64(%rsp), %xmm0
    movups 80(%rsp), %xmm1
    movups 96(%rsp), %xmm2
    movups 112(%rsp), %xmm3
    movups 128(%rsp), %xmm4
    movups 144(%rsp), %xmm5
    movups 160(%rsp), %xmm6
    movups 176(%rsp), %xmm7
    mov (%rsp), %rdi
    mov 8(%rsp), %rsi
    mov 16(%rsp), %rdx
    mov 24(%rsp), %rcx
    mov 32(%rsp), %r8
    mov 40(%rsp), %r9
    mov 48(%rsp), %rax
    leave
.endm
.macro SEND name, find
    .globl \name
    .type \name, @function
\name:
    test %rdi, %rdi
    je 1f
    FIND \find, 0, 8
    jmp *%r11
1:  xor %eax, %eax
    xor %edx, %edx
    pxor %xmm0, %xmm0
    pxor %xmm1, %xmm1
    ret
.endm
.macro SEND_STRET name, find
    .globl \name
    .type \name, @function
\name:
    test %rsi, %rsi
    je 1f
    FIND \find, 8, 16
    jmp *%r11
1:  mov %rdi, %rax
    ret
.endm
SEND objc_msgSend, standin_find
SEND adapter_msgSend, standin_find_counted
SEND_STRET objc_msgSend_stret, standin_find
SEND_STRET adapter_msgSend_stret, standin_find_counted
.globl objc_msgSendSuper2
.type objc_msgSendSuper2, @function
objc_msgSendSuper2:
    FIND standin_find_super, 0, 8
    mov (%rdi), %rdi
    jmp *%r11
.section .note.GNU-stack,"",@progbits
)");

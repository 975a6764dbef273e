// Where the pointer is and which of its buttons are down, without asking while it rests.
#include "ScreenCapture/platform/x11/pointer.h"

#include <xcb/xinput.h>

#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace orvo::platform::x11 {
namespace {

// Idle time of the first pointer, which is the one that a question for the pointer means.
constexpr std::string_view kCountName = "DEVICEIDLETIME 2";
// Milliseconds. The alarm goes off at the first and below, so a pointer must have been idle for longer to count as
// resting.
constexpr int64_t kAlarmTime = 200;
constexpr int64_t kRestTime = 300;
constexpr uint32_t kMaxButton = 3;  // wheels are buttons 4 and above

int64_t number(const xcb_sync_int64_t& value) {
    return static_cast<int64_t>(static_cast<uint64_t>(static_cast<uint32_t>(value.hi)) << 32 | value.lo);
}

// xcb takes the name to begin behind the padding of its structure; it follows its length.
std::string_view nameOf(const xcb_sync_systemcounter_t& counter) {
    const char* const name = reinterpret_cast<const char*>(&counter) + offsetof(xcb_sync_systemcounter_t, name_len);
    return {name + sizeof(counter.name_len), counter.name_len};
}

class SharedPointer final : public EventHandler {
  public:
    static SharedPointer& instance() {
        static SharedPointer& one = *new SharedPointer;
        return one;
    }
    PointerPosition& on(const Server::Use& x) {
        if (std::exchange(epoch_, desktopServer().epoch()) != desktopServer().epoch())
            position_.emplace(*x.connection());
        return *position_;
    }

  private:
    SharedPointer() { desktopServer().add(*this); }
    void onEvent(const Connection&, const xcb_generic_event_t& event) override {
        if (position_ && epoch_ == desktopServer().epoch()) position_->handle(event);
    }

    std::optional<PointerPosition> position_;
    uint64_t epoch_ = 0;
};

}  // namespace

PointerPosition& sharedPointer(const Server::Use& x) {
    return SharedPointer::instance().on(x);
}

PointerPosition::PointerPosition(Connection& x) : x_(x) {
    if (x_.extensions().sync) findCount();
    if (count_ != 0) setAlarm();
}

void PointerPosition::findCount() {
    using Counters = xcb_sync_list_system_counters_reply_t;
    const auto reply = x_.await<Counters>(xcb_sync_list_system_counters(x_.raw()).sequence);
    if (!reply) return;
    for (auto i = xcb_sync_list_system_counters_counters_iterator(reply.get()); i.rem; xcb_sync_systemcounter_next(&i))
        if (nameOf(*i.data) == kCountName) count_ = i.data->counter;
}

void PointerPosition::setAlarm() {
    alarm_ = xcb_generate_id(x_.raw());
    // 64-bit values are given as their upper and lower half.
    const uint32_t values[] = {
        count_, XCB_SYNC_VALUETYPE_ABSOLUTE, 0, kAlarmTime, XCB_SYNC_TESTTYPE_NEGATIVE_COMPARISON, 0, 0, 1};
    xcb_sync_create_alarm(x_.raw(), alarm_,
                          XCB_SYNC_CA_COUNTER | XCB_SYNC_CA_VALUE_TYPE | XCB_SYNC_CA_VALUE | XCB_SYNC_CA_TEST_TYPE |
                              XCB_SYNC_CA_DELTA | XCB_SYNC_CA_EVENTS,
                          values);
}

void PointerPosition::rearmAlarm() {
    const uint32_t values[] = {0, kAlarmTime, 1};
    xcb_sync_change_alarm(x_.raw(), alarm_, XCB_SYNC_CA_VALUE | XCB_SYNC_CA_EVENTS, values);
}

void PointerPosition::handle(const xcb_generic_event_t& event) {
    const Extensions& extensions = x_.extensions();
    if (extensions.sync.sent(event, XCB_SYNC_ALARM_NOTIFY) &&
        reinterpret_cast<const xcb_sync_alarm_notify_event_t&>(event).alarm == alarm_)
        mayHaveMoved();
    if ((event.response_type & 0x7F) != XCB_GE_GENERIC) return;
    const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
    if (generic.extension == extensions.input.opcode && generic.event_type == XCB_INPUT_RAW_BUTTON_PRESS &&
        reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event).detail <= kMaxButton)
        clicks_++;
}

void PointerPosition::watchButtons(bool watch) {
    buttonWatchers_ += watch ? 1 : -1;
    if (!x_.extensions().input || buttonWatchers_ > 1 || (buttonWatchers_ == 1 && !watch)) return;
    struct {
        xcb_input_event_mask_t head;
        uint32_t mask;
    } const selection = {{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                         watch ? static_cast<uint32_t>(XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS) : 0};
    xcb_input_xi_select_events(x_.raw(), x_.root(), 1, &selection.head);
}

void PointerPosition::request() {
    for (unsigned* const question : {&countQuestion_, &pointerQuestion_})
        if (*question != 0) xcb_discard_reply(x_.raw(), std::exchange(*question, 0));
    if (isKnown()) return;
    const auto now = asked_ = std::chrono::steady_clock::now();
    isIdle_ = false;
    if (count_ != 0 && now - moved_ > std::chrono::milliseconds(kRestTime)) {
        countQuestion_ = xcb_sync_query_counter_unchecked(x_.raw(), count_).sequence;
        rearmAlarm();
    }
    pointerQuestion_ = xcb_query_pointer_unchecked(x_.raw(), x_.root()).sequence;  // so xcb allocates less
}

bool PointerPosition::receive() {
    if (pointerQuestion_ == 0) return false;
    if (countQuestion_ != 0) {
        const auto counted = x_.await<xcb_sync_query_counter_reply_t>(std::exchange(countQuestion_, 0));
        isIdle_ = counted && number(counted->counter_value) >= kRestTime;
    }
    const auto found = x_.await<xcb_query_pointer_reply_t>(std::exchange(pointerQuestion_, 0));
    Place place;
    if (found && found->same_screen) place = {found->root_x, found->root_y, found->mask, true};
    if (place != place_) moved_ = asked_;
    isIdle_ = isIdle_ && found && place == place_;
    place_ = place;
    return true;
}

}  // namespace orvo::platform::x11

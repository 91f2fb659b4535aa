// drag-source TYPE DATA X Y [vanish|stall|late EARLIER]: drags DATA from a window of its own to the
// place on the screen and drops it there, as a file manager does (freedesktop.org, "Drag-and-Drop
// Protocol for the X Window System", version 5). It ends with 0 if the drop was taken, with 3 if
// the pointer showed that nothing would be taken, with 4 if what was dropped was not taken, with 5
// without an answer. "vanish": it ends without a word when it is over the place. "stall": it never
// says what it drags. "late": it drags EARLIER there first, leaves, and says what that was once it
// is asked for DATA.
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <xcb/xcb.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kVersion = 5;
constexpr std::chrono::seconds kPatience(5);
constexpr std::chrono::milliseconds kStep(5);
// So long a receiver has only the late answer, which it has to see through without another.
constexpr std::chrono::milliseconds kMisleading(300);

enum Answer { kTaken = 0, kRefused = 3, kNotTaken = 4, kNone = 5 };

template <class Reply>
std::unique_ptr<Reply, decltype(&free)> Owned(Reply *reply)
{
    return {reply, &free};
}

class Drag {
public:
    Drag(const std::string &type, std::string data)
        : _data(std::move(data)),
          _server(xcb_connect(nullptr, nullptr)),
          _root(xcb_setup_roots_iterator(xcb_get_setup(_server)).data->root),
          _type(Atom(type)),
          _source(xcb_generate_id(_server))
    {
        const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(_server, XCB_COPY_FROM_PARENT, _source, _root, 0, 0, 20, 20, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          &events);
        xcb_set_selection_owner(_server, _source, Atom("XdndSelection"), XCB_CURRENT_TIME);
    }
    ~Drag() { xcb_disconnect(_server); }
    Drag(const Drag &) = delete;
    Drag &operator=(const Drag &) = delete;

    // True: what is below the place takes part in the protocol.
    bool EnterAt(int x, int y)
    {
        uint32_t window = _root;
        while (_target == 0 && window != 0) {
            window = ChildAt(window, x, y);
            Aim(window);
        }
        if (_target == 0)
            return false;
        _place = static_cast<uint32_t>(x) << 16 | static_cast<uint32_t>(y);
        Enter();
        return true;
    }

    // Of two drags the second is asked about first.
    bool LeaveAndEnterAgain(const std::string &earlier)
    {
        const auto first = Await<xcb_selection_request_event_t>(XCB_SELECTION_REQUEST);
        Send("XdndLeave", {_source, 0, 0, 0, 0});
        Enter();
        const auto second = Await<xcb_selection_request_event_t>(XCB_SELECTION_REQUEST);
        if (first == nullptr || second == nullptr)
            return false;
        HandOut(*first, earlier);
        std::this_thread::sleep_for(kMisleading);
        HandOut(*second, _data);
        return true;
    }

    Answer Drop(bool isMute)
    {
        _isMute = isMute;
        const auto status = Await("XdndStatus");
        if (status == nullptr)
            return kNone;
        if ((status->data.data32[1] & 1) == 0) {
            Send("XdndLeave", {_source, 0, 0, 0, 0});
            return kRefused;
        }
        Send("XdndDrop", {_source, 0, XCB_CURRENT_TIME, 0, 0});
        const auto finished = Await("XdndFinished");
        if (finished == nullptr)
            return kNone;
        return (finished->data.data32[1] & 1) != 0 ? kTaken : kNotTaken;
    }

private:
    using Message = std::unique_ptr<xcb_client_message_event_t>;

    void Enter()
    {
        Send("XdndEnter", {_source, kVersion << 24, _type, 0, 0});
        Send("XdndPosition", {_source, 0, _place, TimeOfServer(), Atom("XdndActionCopy")});
    }

    // Later for each question.
    uint32_t TimeOfServer()
    {
        std::this_thread::sleep_for(kStep);
        xcb_change_property(_server, XCB_PROP_MODE_APPEND, _source, _type, _type, 8, 0, nullptr);
        xcb_flush(_server);
        const auto changed = Await<xcb_property_notify_event_t>(XCB_PROPERTY_NOTIFY);
        return changed == nullptr ? XCB_CURRENT_TIME : changed->time;
    }

    uint32_t Atom(const std::string &name)
    {
        const auto reply = Owned(xcb_intern_atom_reply(
            _server, xcb_intern_atom(_server, 0, static_cast<uint16_t>(name.size()), name.c_str()),
            nullptr));
        return reply->atom;
    }

    uint32_t ChildAt(uint32_t window, int x, int y)
    {
        const auto reply = Owned(xcb_translate_coordinates_reply(
            _server,
            xcb_translate_coordinates(_server, _root, window, static_cast<int16_t>(x),
                                      static_cast<int16_t>(y)),
            nullptr));
        return reply == nullptr ? 0 : reply->child;
    }

    // 0: it has none.
    uint32_t Property(uint32_t window, const std::string &name)
    {
        const auto reply = Owned(xcb_get_property_reply(
            _server, xcb_get_property(_server, 0, window, Atom(name), XCB_ATOM_ANY, 0, 1),
            nullptr));
        if (reply == nullptr || reply->format != 32 || reply->value_len < 1)
            return 0;
        return *static_cast<const uint32_t *>(xcb_get_property_value(reply.get()));
    }

    // File managers know no version before 3.
    void Aim(uint32_t window)
    {
        const uint32_t proxy = Property(window, "XdndProxy");
        const bool isProxied = proxy != 0 && Property(proxy, "XdndProxy") == proxy;
        const uint32_t receiver = isProxied ? proxy : window;
        if (Property(receiver, "XdndAware") < 3)
            return;
        _target = window;
        _receiver = receiver;
    }

    void Send(const std::string &name, const std::array<uint32_t, 5> &data)
    {
        xcb_client_message_event_t message = {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = _target;
        message.type = Atom(name);
        std::copy(data.begin(), data.end(), message.data.data32);
        xcb_send_event(_server, 0, _receiver, 0, reinterpret_cast<const char *>(&message));
        xcb_flush(_server);
    }

    // The next of the kind; others are dropped. null: none came.
    template <class Event>
    std::unique_ptr<Event> Await(int kind)
    {
        for (const auto deadline = Clock::now() + kPatience; Clock::now() < deadline;) {
            const auto event = Next();
            if (event != nullptr && (event->response_type & 0x7f) == kind)
                return std::make_unique<Event>(reinterpret_cast<const Event &>(*event));
        }
        return nullptr;
    }

    // Hands the data out meanwhile. null: nothing came.
    Message Await(const std::string &name)
    {
        const uint32_t type = Atom(name);
        for (const auto deadline = Clock::now() + kPatience; Clock::now() < deadline;) {
            const auto event = Next();
            if (event == nullptr)
                continue;
            const int kind = event->response_type & 0x7f;
            if (kind == XCB_SELECTION_REQUEST && !_isMute)
                HandOut(reinterpret_cast<const xcb_selection_request_event_t &>(*event), _data);
            const auto &message = reinterpret_cast<const xcb_client_message_event_t &>(*event);
            if (kind == XCB_CLIENT_MESSAGE && message.type == type)
                return std::make_unique<xcb_client_message_event_t>(message);
        }
        return nullptr;
    }

    // null: there was none for a moment.
    std::unique_ptr<xcb_generic_event_t, decltype(&free)> Next()
    {
        auto event = Owned(xcb_poll_for_event(_server));
        if (event == nullptr)
            std::this_thread::sleep_for(kStep);
        return event;
    }

    void HandOut(const xcb_selection_request_event_t &request, const std::string &data)
    {
        xcb_selection_notify_event_t answer = {};
        answer.response_type = XCB_SELECTION_NOTIFY;
        answer.requestor = request.requestor;
        answer.selection = request.selection;
        answer.target = request.target;
        answer.time = request.time;
        if (request.target == _type) {
            answer.property = request.property;
            xcb_change_property(_server, XCB_PROP_MODE_REPLACE, request.requestor, request.property,
                                _type, 8, static_cast<uint32_t>(data.size()), data.data());
        }
        // An event has 32 bytes.
        std::array<char, 32> bytes = {};
        memcpy(bytes.data(), &answer, sizeof(answer));
        xcb_send_event(_server, 0, request.requestor, 0, bytes.data());
        xcb_flush(_server);
    }

    const std::string _data;
    xcb_connection_t *const _server;
    const uint32_t _root;
    const uint32_t _type;
    const uint32_t _source;
    uint32_t _target = 0;
    uint32_t _receiver = 0;
    uint32_t _place = 0;
    bool _isMute = false;
};

}  // namespace

int main(int argc, char **argv)
{
    const std::string manner = argc >= 6 ? argv[5] : "";
    if (argc < 5)
        return EXIT_FAILURE;
    Drag drag(argv[1], argv[2]);
    if (!drag.EnterAt(atoi(argv[3]), atoi(argv[4])))
        return kNone;
    if (manner == "late" && (argc < 7 || !drag.LeaveAndEnterAgain(argv[6])))
        return kNone;
    return manner == "vanish" ? kNone : drag.Drop(manner == "stall");
}

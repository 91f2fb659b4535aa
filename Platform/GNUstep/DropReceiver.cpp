#include "DropReceiver.h"

#include "UriList.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <xcb/xcb.h>

namespace vx {
namespace {

constexpr uint32_t kVersion = 5;
constexpr uint32_t kLongestList = 1 << 20;  // bytes
constexpr uint32_t kMostTypes = 1024;

enum AtomName : size_t {
    kAware,
    kProxy,
    kTypeList,
    kSelection,
    kEnter,
    kPosition,
    kStatus,
    kLeave,
    kDrop,
    kFinished,
    kCopy,
    kUriList,
    kAtomCount
};

constexpr std::array<const char *, kAtomCount> kAtomNames = {
    "XdndAware",  "XdndProxy", "XdndTypeList", "XdndSelection", "XdndEnter",      "XdndPosition",
    "XdndStatus", "XdndLeave", "XdndDrop",     "XdndFinished",  "XdndActionCopy", "text/uri-list"};

template <class Answer>
using Owned = std::unique_ptr<Answer, decltype(&free)>;

template <class Answer>
Owned<Answer> owned(Answer *answer)
{
    return Owned<Answer>(answer, &free);
}

}  // namespace

class DropReceiver::Protocol {
public:
    explicit Protocol(DropTarget &target) : _target(target), _server(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(_server) != 0)
            return;
        findAtoms();
        makeWindow();
    }
    ~Protocol() { xcb_disconnect(_server); }
    Protocol(const Protocol &) = delete;
    Protocol &operator=(const Protocol &) = delete;

    int descriptor() const { return _window == 0 ? -1 : xcb_get_file_descriptor(_server); }

    bool adopt(uint32_t window)
    {
        if (_window == 0)
            return false;
        const auto request =
            xcb_change_property_checked(_server, XCB_PROP_MODE_REPLACE, window, _atoms[kProxy],
                                        XCB_ATOM_WINDOW, 32, 1, &_window);
        return owned(xcb_request_check(_server, request)) == nullptr;
    }

    void serve()
    {
        while (auto event = owned(xcb_poll_for_event(_server))) {
            const int kind = event->response_type & 0x7f;
            if (kind == XCB_CLIENT_MESSAGE)
                takeMessage(reinterpret_cast<const xcb_client_message_event_t &>(*event));
            else if (kind == XCB_SELECTION_NOTIFY)
                takeList(reinterpret_cast<const xcb_selection_notify_event_t &>(*event));
        }
        xcb_flush(_server);
    }

private:
    // What is known of the drag that is over one of the windows.
    struct Drag {
        uint32_t source = 0;  // its window; 0: there is none
        bool hasFiles = false;
        bool wasAsked = false;
        uint32_t askedAt = 0;   // the server's time; the answer to the question repeats it
        bool isListed = false;  // the paths have come
        bool isTaken = false;   // by the last answer
        uint32_t window = 0;
        int x = 0;
        int y = 0;
        std::vector<std::string> paths;
    };

    void findAtoms()
    {
        std::array<xcb_intern_atom_cookie_t, kAtomCount> questions;
        for (size_t i = 0; i < kAtomCount; ++i) {
            const std::string name = kAtomNames[i];
            questions[i] =
                xcb_intern_atom(_server, 0, static_cast<uint16_t>(name.size()), name.c_str());
        }
        for (size_t i = 0; i < kAtomCount; ++i) {
            const auto answer = owned(xcb_intern_atom_reply(_server, questions[i], nullptr));
            _atoms[i] = answer == nullptr ? XCB_ATOM_NONE : answer->atom;
        }
    }

    // A proxy names itself, so that one that is left over from an ended program is seen to be.
    void makeWindow()
    {
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(_server)).data;
        _window = xcb_generate_id(_server);
        xcb_create_window(_server, XCB_COPY_FROM_PARENT, _window, screen->root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        setProperty(_window, kProxy, XCB_ATOM_WINDOW, _window);
        setProperty(_window, kAware, XCB_ATOM_ATOM, kVersion);
        xcb_flush(_server);
    }

    void setProperty(uint32_t window, AtomName name, uint32_t type, uint32_t value)
    {
        xcb_change_property(_server, XCB_PROP_MODE_REPLACE, window, _atoms[name], type, 32, 1,
                            &value);
    }

    void takeMessage(const xcb_client_message_event_t &message)
    {
        const uint32_t *data = message.data.data32;
        if (message.format != 32)
            return;
        if (message.type == _atoms[kEnter])
            return enter(data);
        if (_drag.source == 0 || data[0] != _drag.source)
            return;
        if (message.type == _atoms[kPosition])
            move(message.window, data);
        else if (message.type == _atoms[kDrop])
            drop();
        else if (message.type == _atoms[kLeave])
            _drag = Drag();
    }

    void enter(const uint32_t *data)
    {
        _drag = Drag();
        _drag.source = data[0];
        const bool hasList = (data[1] & 1) != 0;
        const uint32_t *few = data + 2;
        _drag.hasFiles = hasList ? isFileListed() : std::count(few, few + 3, _atoms[kUriList]) > 0;
    }

    // Of more than three types there is a list at the source's window.
    bool isFileListed()
    {
        const auto answer = owned(
            xcb_get_property_reply(_server,
                                   xcb_get_property(_server, 0, _drag.source, _atoms[kTypeList],
                                                    XCB_ATOM_ATOM, 0, kMostTypes),
                                   nullptr));
        if (answer == nullptr || answer->format != 32)
            return false;
        const auto *types = static_cast<const uint32_t *>(xcb_get_property_value(answer.get()));
        return std::count(types, types + answer->value_len, _atoms[kUriList]) > 0;
    }

    void move(uint32_t window, const uint32_t *data)
    {
        constexpr uint32_t kLow = 0xffff;
        _drag.window = window;
        _drag.x = static_cast<int16_t>(data[2] >> 16);
        _drag.y = static_cast<int16_t>(data[2] & kLow);
        if (!_drag.hasFiles || _drag.isListed)
            return answer();
        // The source is answered when it has said which files they are.
        if (!_drag.wasAsked)
            ask(data[3]);
    }

    void ask(uint32_t time)
    {
        xcb_convert_selection(_server, _window, _atoms[kSelection], _atoms[kUriList],
                              _atoms[kSelection], time);
        _drag.wasAsked = true;
        _drag.askedAt = time;
    }

    void takeList(const xcb_selection_notify_event_t &event)
    {
        // The answer to an earlier drag may come late.
        const bool isAwaited = _drag.wasAsked && !_drag.isListed && event.time == _drag.askedAt;
        if (!isAwaited || event.selection != _atoms[kSelection])
            return;
        _drag.isListed = true;
        if (event.property != XCB_ATOM_NONE)
            _drag.paths = filesOfUriList(listInProperty());
        answer();
    }

    // A list that comes in pieces, or is longer than any that one drags, is none.
    std::string listInProperty()
    {
        const auto answer =
            owned(xcb_get_property_reply(_server,
                                         xcb_get_property(_server, 1, _window, _atoms[kSelection],
                                                          XCB_ATOM_ANY, 0, kLongestList / 4),
                                         nullptr));
        if (answer == nullptr || answer->format != 8 || answer->bytes_after > 0)
            return "";
        return {static_cast<const char *>(xcb_get_property_value(answer.get())), answer->value_len};
    }

    void answer()
    {
        constexpr uint32_t kTakes = 1, kAsksForEachMove = 2;
        _drag.isTaken =
            !_drag.paths.empty() && _target.wouldTake(_drag.window, _drag.x, _drag.y, _drag.paths);
        const uint32_t flags = kAsksForEachMove | (_drag.isTaken ? kTakes : 0);
        send(kStatus, {_drag.window, flags, 0, 0, actionFor(_drag.isTaken)});
    }

    void drop()
    {
        const Drag dropped = _drag;
        _drag = Drag();
        const bool isTaken =
            dropped.isTaken && _target.take(dropped.window, dropped.x, dropped.y, dropped.paths);
        send(kFinished, {dropped.window, isTaken ? 1u : 0u, actionFor(isTaken), 0, 0},
             dropped.source);
    }

    uint32_t actionFor(bool isTaken) const { return isTaken ? _atoms[kCopy] : XCB_ATOM_NONE; }

    void send(AtomName name, const std::array<uint32_t, 5> &data)
    {
        send(name, data, _drag.source);
    }
    void send(AtomName name, const std::array<uint32_t, 5> &data, uint32_t source)
    {
        xcb_client_message_event_t message = {};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = source;
        message.type = _atoms[name];
        std::copy(data.begin(), data.end(), message.data.data32);
        xcb_send_event(_server, 0, source, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char *>(&message));
        xcb_flush(_server);
    }

    DropTarget &_target;
    xcb_connection_t *const _server;
    std::array<uint32_t, kAtomCount> _atoms = {};
    uint32_t _window = 0;
    Drag _drag;
};

DropReceiver::DropReceiver(DropTarget &target) : _protocol(std::make_unique<Protocol>(target)) {}

DropReceiver::~DropReceiver() = default;

int DropReceiver::descriptor() const
{
    return _protocol->descriptor();
}

bool DropReceiver::adopt(uint32_t window)
{
    return _protocol->adopt(window);
}

void DropReceiver::serve()
{
    _protocol->serve();
}

}  // namespace vx

#include "benchmarks/MappedWindows.h"

#include <X11/Xlib.h>

#include <poll.h>

namespace zuLogging::benchmarks {

namespace {

Display* of(void* display)
{
    return static_cast<Display*>(display);
}

int ignoreError(Display*, XErrorEvent*)
{
    return 0; // a window that was just there may be gone
}

} // namespace

MappedWindows::MappedWindows()
    : display_(XOpenDisplay(nullptr))
{
    if (!display_)
        return;
    XSetErrorHandler(&ignoreError);
    XSelectInput(of(display_), XDefaultRootWindow(of(display_)), SubstructureNotifyMask);
    XSync(of(display_), False);
}

MappedWindows::~MappedWindows()
{
    if (display_)
        XCloseDisplay(of(display_));
}

void MappedWindows::forget()
{
    XSync(of(display_), True);
}

bool MappedWindows::waitForOne(int smallest, std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    Display* display = of(display_);
    const auto end = Clock::now() + limit;
    for (;;) {
        while (XPending(display) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            if (event.type != MapNotify || event.xmap.override_redirect)
                continue;
            XWindowAttributes window;
            if (XGetWindowAttributes(display, event.xmap.window, &window) != 0 &&
                window.width > smallest && window.height > smallest)
                return true;
        }
        const auto rest =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (rest <= 0)
            return false;
        pollfd server{XConnectionNumber(display), POLLIN, 0};
        poll(&server, 1, static_cast<int>(rest));
    }
}

} // namespace zuLogging::benchmarks

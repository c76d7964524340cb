// SPDX-License-Identifier: MIT
#include "support/virtual_screen.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// A test can't go on without its screen.
[[noreturn]] static void Fail(const char* what)
{
    fprintf(stderr, "virtual screen: %s\n", what);
    abort();
}

/// Starts a program with its standard streams on /dev/null.
/// @return its pid
static pid_t Start(const std::vector<std::string>& words)
{
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (const std::string& word : words)
    {
        argv.push_back(const_cast<char*>(word.c_str()));
    }
    argv.push_back(nullptr);

    fflush(nullptr);
    pid_t child = fork();
    if (child < 0)
    {
        Fail("can't fork");
    }
    if (child == 0)
    {
        int nowhere = open("/dev/null", O_RDWR);
        for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        {
            dup2(nowhere, stream);
        }
        execvp(argv[0], argv.data());
        _exit(127);
    }
    return child;
}

static Display* Connection(const VirtualScreen& screen)
{
    return static_cast<Display*>(screen.connection);
}

VirtualScreen::VirtualScreen(int32_t width, int32_t height)
{
    int ends[2];
    if (pipe(ends) != 0)
    {
        Fail("can't make a pipe");
    }
    std::string size = std::to_string(width) + "x" + std::to_string(height) + "x24";
    server = Start({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", size});
    close(ends[1]);

    // The server writes its number when it takes connections, and nothing if it dies.
    char number[16] = {};
    size_t length = 0;
    while (length < sizeof(number) - 1 && read(ends[0], number + length, 1) == 1 &&
           number[length] != '\n')
    {
        ++length;
    }
    close(ends[0]);
    number[length] = 0;
    name = std::string(":") + number;
    connection = length == 0 ? nullptr : XOpenDisplay(name.c_str());
    if (connection == nullptr)
    {
        Fail("Xvfb does not start");
    }
}

VirtualScreen::~VirtualScreen()
{
    XCloseDisplay(Connection(*this));
    kill(server, SIGTERM);
    waitpid(server, nullptr, 0);
}

Picture CaptureScreen(const VirtualScreen& screen)
{
    Display* display = Connection(screen);
    int number = DefaultScreen(display);
    int width = DisplayWidth(display, number);
    int height = DisplayHeight(display, number);
    XImage* image =
        XGetImage(display, RootWindow(display, number), 0, 0, static_cast<unsigned int>(width),
                  static_cast<unsigned int>(height), AllPlanes, ZPixmap);
    if (image == nullptr)
    {
        Fail("can't be captured");
    }

    if (image->bits_per_pixel != 32 || image->byte_order != LSBFirst)
    {
        Fail("its pixels are not blue, green, red and a spare byte");
    }

    Picture picture = {width, height, {}};
    picture.rgb.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 3);
    uint8_t* out = picture.rgb.data();
    for (int y = 0; y < height; ++y)
    {
        const char* row = image->data + static_cast<ptrdiff_t>(y) * image->bytes_per_line;
        for (int x = 0; x < width; ++x, row += 4, out += 3)
        {
            out[0] = static_cast<uint8_t>(row[2]);
            out[1] = static_cast<uint8_t>(row[1]);
            out[2] = static_cast<uint8_t>(row[0]);
        }
    }
    XDestroyImage(image);
    return picture;
}

static void RunXdotool(const VirtualScreen& screen, std::vector<std::string> words)
{
    setenv("DISPLAY", screen.name.c_str(), 1);
    words.insert(words.begin(), "xdotool");
    pid_t tool = Start(words);
    int status = 0;
    if (waitpid(tool, &status, 0) != tool || status != 0)
    {
        Fail("xdotool does not do its work");
    }
}

void PressKey(const VirtualScreen& screen, const std::string& key)
{
    RunXdotool(screen, {"keydown", key});
}

void ReleaseKey(const VirtualScreen& screen, const std::string& key)
{
    RunXdotool(screen, {"keyup", key});
}

void MovePointer(const VirtualScreen& screen, int32_t x, int32_t y)
{
    RunXdotool(screen, {"mousemove", std::to_string(x), std::to_string(y)});
}

void PressButton(const VirtualScreen& screen)
{
    RunXdotool(screen, {"mousedown", "1"});
}

void ReleaseButton(const VirtualScreen& screen)
{
    RunXdotool(screen, {"mouseup", "1"});
}

/// @return the window below `parent` that has this title; 0 for none
static Window FindWindow(Display* display, Window parent, const std::string& title)
{
    Window root = 0;
    Window above = 0;
    Window* children = nullptr;
    unsigned int count = 0;
    if (XQueryTree(display, parent, &root, &above, &children, &count) == 0)
    {
        return 0;
    }
    Window found = 0;
    for (unsigned int i = 0; i < count && found == 0; ++i)
    {
        char* name = nullptr;
        if (XFetchName(display, children[i], &name) != 0 && title == name)
        {
            found = children[i];
        }
        XFree(name);
    }
    XFree(children);
    return found;
}

/// A window that is gone by now is no fault of the test's.
static int IgnoreError(Display* /*display*/, XErrorEvent* /*error*/)
{
    return 0;
}

WindowPlace FindWindowPlace(const VirtualScreen& screen, const std::string& title)
{
    Display* display = Connection(screen);
    XErrorHandler handler = XSetErrorHandler(IgnoreError);
    WindowPlace place = {};
    Window root = DefaultRootWindow(display);
    Window window = FindWindow(display, root, title);
    XWindowAttributes attributes = {};
    if (window != 0 && XGetWindowAttributes(display, window, &attributes) != 0 &&
        attributes.map_state == IsViewable)
    {
        Window child = 0;
        XTranslateCoordinates(display, window, root, 0, 0, &place.left, &place.top, &child);
        place.width = attributes.width;
        place.height = attributes.height;
    }
    XSetErrorHandler(handler);
    return place;
}

bool CloseWindow(const VirtualScreen& screen, const std::string& title)
{
    Display* display = Connection(screen);
    Window window = FindWindow(display, DefaultRootWindow(display), title);
    if (window == 0)
    {
        return false;
    }
    XEvent event = {};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display, window, False, NoEventMask, &event);
    XSync(display, False);
    return true;
}

Picture CutPicture(const Picture& picture, const WindowPlace& part)
{
    static constexpr uint8_t kBlack[] = {0, 0, 0};
    Picture cut = {part.width, part.height, {}};
    for (int32_t y = part.top; y < part.top + part.height; ++y)
    {
        for (int32_t x = part.left; x < part.left + part.width; ++x)
        {
            bool inside = 0 <= x && x < picture.width && 0 <= y && y < picture.height;
            const uint8_t* pixel = inside ? PixelAt(picture, x, y) : kBlack;
            cut.rgb.insert(cut.rgb.end(), pixel, pixel + 3);
        }
    }
    return cut;
}

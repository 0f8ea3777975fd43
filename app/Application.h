#pragma once

#include <QStringList>

#include <memory>

namespace zuLogging {

class MainView;

/// The program's one window; empty when it could not be made.
using MainViewHolder = std::shared_ptr<MainView>;

/// Exit status of a program that never got a window.
inline constexpr int exitStatusNoWindow = 1;

/// The whole program after the process entry. Returns the process's exit status.
int runApplication(int& argc, char** argv);

/// Reads the settings, makes the first contact with the log service, builds the window into
/// `holder` and shows it. When the service cannot be reached the user is told in a message box, the
/// holder stays as it was, and the call returns normally. Never throws a std::exception.
void createMainView(MainViewHolder& holder);

/// Has the window open these files (LogMessageView::openLogFiles) from the event loop, once it can
/// be seen on the screen, or half a second later when it cannot (it may begin as an icon).
void openFilesOnceShown(MainView& window, const QStringList& files);

/// Runs the event loop until the program is told to quit and returns its exit status; without a
/// window nobody could tell it, so the loop ends at once with `exitStatusNoWindow`.
int runEventLoop(const MainViewHolder& holder);

} // namespace zuLogging

#include "app/stopsignalhandler.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QWidget>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPair[2] = {-1, -1};

// Runs in the signal's context: only async-signal-safe calls.
void onStopSignal(int)
{
    const int saved = errno;
    const char byte = 1;
    ssize_t written = ::write(signalPair[0], &byte, 1);
    (void)written; // a full socket already holds a stop request
    errno = saved;
}

} // namespace

void StopSignalHandler::install()
{
    if (signalPair[0] >= 0 || !qApp)
        return;
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPair) != 0) {
        signalPair[0] = signalPair[1] = -1;
        return;
    }
    for (int fd : signalPair) {
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    new StopSignalHandler(signalPair[1], qApp);

    struct sigaction action = {};
    action.sa_handler = onStopSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
}

StopSignalHandler::StopSignalHandler(int readEnd, QObject *parent) : QObject(parent), readEnd(readEnd)
{
    notifier = new QSocketNotifier(readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &StopSignalHandler::stopRequested);
}

void StopSignalHandler::stopRequested()
{
    char bytes[16];
    while (::read(readEnd, bytes, sizeof bytes) > 0) {
    }
    // Open boxes first, then the windows, as a user closing everything would;
    // the last window closed ends the event loop. With no window left shown
    // the loop is ended directly.
    QApplication::closeAllWindows();
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->isVisible())
            return;
    }
    QCoreApplication::quit();
}

#ifndef STOPSIGNALHANDLER_H
#define STOPSIGNALHANDLER_H

#include <QObject>

class QSocketNotifier;

// Turns a polite stop (SIGTERM, SIGINT) into a normal close: the program's
// windows close as the user would close them, so that the event loop ends
// and the main window is destroyed normally (removing the lock marker).
// The signal handler only writes a byte into a socket pair; the closing is
// done on the GUI thread when the event loop reads it.
class StopSignalHandler : public QObject
{
    Q_OBJECT

public:
    // Installs the handler for the running application; later calls do nothing.
    static void install();

private:
    explicit StopSignalHandler(int readEnd, QObject *parent);
    void stopRequested();

    QSocketNotifier *notifier = nullptr;
    int readEnd = -1;
};

#endif // STOPSIGNALHANDLER_H

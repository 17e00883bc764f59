// Starting the program on a remembered table of the bench size, in a process
// of its own (this executable again), from a working folder whose
// "lastDb.dat" names the bench database; the window is made as the program's
// entry point makes it. Times from the process's start to the window's first
// paint, to the constructor's return (the list complete) and to idle after
// show(), against a bare SELECT * of the same table. The peak is the child
// process's own.
#include "benchoperations.h"

#include "app/qtitalian.h"
#include "app/resources.h"
#include "app/tessaro.h"
#include "dialogs/progressbarform.h"

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QIcon>
#include "app/recordlistview.h"
#include <QProcess>
#include <QTimer>
#include <cstdio>
#include <cstring>

namespace {

// Notes the first paint inside the main window and inside the progress dialog.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(const QElapsedTimer &clock) : clock(clock) {}
    double window = -1;
    double progress = -1;

    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::Paint && object->isWidgetType()) {
            QWidget *top = static_cast<QWidget *>(object)->window();
            if (window < 0 && qobject_cast<Tessaro *>(top))
                window = seconds(clock);
            else if (progress < 0 && qobject_cast<progressBarForm *>(top))
                progress = seconds(clock);
        }
        return false;
    }

private:
    const QElapsedTimer &clock;
};

struct Launch {
    double painted = -1;
    double progressShown = -1;
    double constructed = 0;
    double idle = 0;
    int listed = 0;
    double peakMb = 0;
};

const char *const ChildFlag = "--launch-child";

// One launch in a process of its own, timed by that process from its start.
bool launchOnce(const QString &folder, Launch *launch)
{
    QProcess child;
    child.setWorkingDirectory(folder);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {ChildFlag});
    if (!child.waitForFinished(600000) || child.exitCode() != 0)
        return false;
    const QList<QByteArray> numbers = child.readAllStandardOutput().trimmed().split(' ');
    if (numbers.size() != 6)
        return false;
    *launch = {numbers.at(0).toDouble(), numbers.at(1).toDouble(), numbers.at(2).toDouble(),
               numbers.at(3).toDouble(), numbers.at(4).toInt(),    numbers.at(5).toDouble()};
    return true;
}

} // namespace

int runLaunchChild(int argc, char **argv)
{
    QElapsedTimer clock;
    clock.start();
    QApplication app(argc, argv);
    // Set up as the program's entry point sets it up.
    installQtItalian(&app);
    loadTessaroResources();
    QApplication::setWindowIcon(QIcon(":/appIcon"));
    PaintWatch watch(clock);
    app.installEventFilter(&watch);
    SilentHandler silent;
    MessageHandler::install(&silent);
    Launch launch;
    {
        Tessaro window; // opens the database that lastDb.dat names, as the program does
        launch.constructed = seconds(clock);
        window.show();
        waitForList(window);
        QEventLoop idle;
        QTimer::singleShot(0, &idle, &QEventLoop::quit); // runs once the queue is empty
        idle.exec();
        launch.idle = seconds(clock);
        launch.listed = window.findChild<RecordListView *>("userListWidget")->count();
        launch.peakMb = peakMemoryMb();
    }
    MessageHandler::install(nullptr);
    std::printf("%.4f %.4f %.4f %.4f %d %.1f\n", watch.window, watch.progress, launch.constructed, launch.idle,
                launch.listed, launch.peakMb);
    return 0;
}

bool isLaunchChild(int argc, char **argv)
{
    return argc > 1 && std::strcmp(argv[1], ChildFlag) == 0;
}

BenchResult benchLaunch(BenchContext &context)
{
    QFile last(QDir(context.folder).filePath("lastDb.dat"));
    if (last.open(QIODevice::WriteOnly | QIODevice::Truncate))
        last.write(context.dbPath.toUtf8());
    last.close();

    std::vector<double> idles, bares;
    Launch kept;
    for (int run = 0; run < 3; ++run) {
        bares.push_back(bareSelect(People));
        Launch launch;
        if (!launchOnce(context.folder, &launch)) {
            std::fprintf(stderr, "launch failed\n");
            continue;
        }
        if (idles.empty() || launch.idle < best(idles))
            kept = launch;
        idles.push_back(launch.idle);
    }
    std::printf("launch: window painted at %.3f s (%.0f%% of the time to idle), progress at %.3f s, "
                "list of %d complete at %.3f s, idle at %.3f s, process peak %.0f MB\n",
                kept.painted, kept.idle > 0 ? 100 * kept.painted / kept.idle : 0.0, kept.progressShown, kept.listed,
                kept.constructed, kept.idle, kept.peakMb);
    return {QString("launch-%1").arg(context.size), best(idles), "bare-select", best(bares), kept.peakMb};
}

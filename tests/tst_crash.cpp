// Kills the window, as a power cut or a stuck program would, at random
// moments while it saves records with attachments, imports record files and
// adds fields; then checks what it left. TESSARO_CRASH_RUNS sets how many
// times (200 by default; scripts/crashtest runs many more).
#include "app/tessaro.h"
#include "records/pendingattachments.h"
#include "storage/databasecheck.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QDirIterator>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QtTest>

namespace {

void makeDatabase(const QString &path)
{
    DbConnection db;
    QVERIFY(db.openDb(path));
    QVERIFY(makeTable(db, "Schede", {"RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Versione", "NLONGSTRINGFORMAT_UserPath",
                                     "NIMAGEFORMAT_Foto"},
                      {"A|v0|TABLES_DOC/Schede_A|", "B|v0|TABLES_DOC/Schede_B|", "C|v0|TABLES_DOC/Schede_C|"}));
    QVERIFY(makeTable(db, "Voci", {"RSTRINGFORMAT_Codice", "NLONGSTRINGFORMAT_UserPath"}));
}

// What the killed window had said it finished.
struct Confirmed {
    QHash<int, int> saved; // record -> last save
    int imports = 0;
    QStringList fields;
};

Confirmed confirmed(const QString &output)
{
    Confirmed done;
    for (const QString &line : output.split('\n')) {
        const QStringList words = line.split(' ');
        if (words.value(0) == "saved")
            done.saved[words.value(1).toInt()] = words.value(2).toInt();
        else if (words.value(0) == "imported")
            ++done.imports;
        else if (words.value(0) == "added")
            done.fields << "NSTRINGFORMAT_" + words.value(1);
    }
    return done;
}

} // namespace

class CrashTest : public QObject
{
    Q_OBJECT

private slots:
    void killedAtRandomMoments();
};

void CrashTest::killedAtRandomMoments()
{
    const int runs = qEnvironmentVariableIsSet("TESSARO_CRASH_RUNS") ? qEnvironmentVariableIntValue("TESSARO_CRASH_RUNS")
                                                                       : 200;
    TestFolder folder;
    RecordingMessageHandler messages;
    QRandomGenerator random(quint32(QDateTime::currentMSecsSinceEpoch()));
    int saves = 0, imports = 0, fields = 0, recovered = 0;
    for (int run = 0; run < runs; ++run) {
        const QString work = folder.file(QString("run%1").arg(run));
        QVERIFY(QDir().mkpath(work));
        const QString path = work + "/crash.db";
        makeDatabase(path);

        QProcess driver;
        driver.start(qEnvironmentVariable("TESSARO_CRASH_DRIVER", TESSARO_CRASH_DRIVER), {path, work});
        QVERIFY(driver.waitForReadyRead(20000));
        QTest::qSleep(1 + int(random.bounded(250)));
        driver.kill();
        QVERIFY(driver.waitForFinished(10000));
        const Confirmed done = confirmed(QString::fromUtf8(driver.readAllStandardOutput()));
        const QString context = QString("run %1").arg(run);

        {
            // The file is sound; every confirmed save is there whole, none
            // half-written; imports are all or nothing; added fields stay.
            DbConnection db;
            QVERIFY(db.openDb(path));
            QVERIFY2(db.integrityProblems().isEmpty(), qPrintable(context));
            int id = 0;
            db.readColumns("Schede", {"RINTEGERFORMAT_Id", "NSTRINGFORMAT_Versione", "NIMAGEFORMAT_Foto"},
                           [&](const QVector<QVariant> &row) {
                               id = row.at(0).toInt();
                               const int version = row.at(1).toString().mid(1).toInt();
                               const QString picture = row.at(2).toString();
                               QVERIFY2(version >= done.saved.value(id, 0), qPrintable(context));
                               QVERIFY2(picture.isEmpty() ? version == 0
                                                          : picture.endsWith(QString("/img%1.png").arg(version)),
                                        qPrintable(context + ": " + picture));
                           });
            const int listed = db.countRecords("Voci");
            QVERIFY2(listed % 50 == 0 && listed >= 50 * done.imports, qPrintable(context));
            for (const QString &field : done.fields)
                QVERIFY2(db.getFieldNames("Schede").contains(field), qPrintable(context + field));
        }
        saves += done.saved.size();
        imports += done.imports;
        fields += done.fields.size();

        // The next start (the lock of the killed one removed, as the user is
        // told to) leaves no file missing, and no file that no record points
        // to but those its record's later pictures replaced (never deleted).
        QDirIterator waiting(work + "/TABLES_DOC", {PendingAttachments::waitingName("*")}, QDir::Files | QDir::Hidden,
                             QDirIterator::Subdirectories);
        recovered += waiting.hasNext() ? 1 : 0;
        QFile::remove(work + "/lockDb.dat");
        QDir::setCurrent(work);
        {
            rememberDb(path);
            Tessaro restarted;
            DbConnection &db = *restarted.connection();
            const DatabaseCheck check = checkDatabase(db, work + "/");
            QHash<QString, int> shown; // record folder -> number of the picture its record holds
            db.readColumns("Schede", {"NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto"}, [&shown](const QVector<QVariant> &row) {
                shown[row.at(0).toString()] = row.at(1).toString().section("/img", 1).section('.', 0, 0).toInt();
            });
            bool orphansReplaced = true;
            for (const QString &file : check.orphanFiles)
                orphansReplaced = orphansReplaced && file.section('/', -1).startsWith("img")
                                  && file.section("/img", 1).section('.', 0, 0).toInt()
                                         < shown.value(file.section('/', 0, 1), -1);
            QVERIFY2(orphansReplaced && check.missing.isEmpty(), qPrintable(context + "\n" + check.report()));
        }
        QDir::setCurrent(folder.path());
        QDir(work).removeRecursively();
    }
    qInfo("%d kills: %d confirmed saves, %d imports, %d added fields; %d starts found files left waiting", runs, saves,
          imports, fields, recovered);
}

QTEST_MAIN(CrashTest)
#include "tst_crash.moc"

// The command line, through the real program, in a terminal without a display.
#include "app/tessaro.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QCryptographicHash>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QtTest>
#include <unistd.h>

namespace {

struct Run {
    int status = -1;
    QString out, err;
};

// The program with no display and no platform for a window toolkit. As
// root, permissions stop nobody: asPlainUser gives up that override.
Run tessaro(const QStringList &arguments, bool asPlainUser = false)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("DISPLAY");
    environment.remove("WAYLAND_DISPLAY");
    environment.insert("QT_QPA_PLATFORM", "");
    process.setProcessEnvironment(environment);
    if (asPlainUser && ::geteuid() == 0)
        process.start("setpriv", QStringList{"--inh-caps=-dac_override,-dac_read_search",
                                             "--bounding-set=-dac_override,-dac_read_search", TESSARO_BINARY}
                                     + arguments);
    else
        process.start(TESSARO_BINARY, arguments);
    process.waitForFinished(30000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

QByteArray digest(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256)
                                          : QByteArray();
}

void shop(DbConnection &db)
{
    makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Milano", "Torino"});
    makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo",
                              "NLONGSTRINGFORMAT_UserPath"},
              {"Mario Rossi|2|8.250000|", "Anna l'Aquila|1|3.140000|"});
    makeTable(db, "HIDDENTABLE_Note", {"RSTRINGFORMAT_Testo"}, {"segreta"});
    makeTable(db, "settings", {"RSTRINGFORMAT_tableName", "RSTRINGFORMAT_iconPath"});
}

} // namespace

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void helpVersionAndWrongCommands();
    void tablesAndExportsAsTheWindowWritesThem();
    void failuresWriteNothing_data();
    void failuresWriteNothing();
    void importIsAllOrNothing();
    void writerWaitsForAnotherProgramsLock();
};

void CommandLineTest::helpVersionAndWrongCommands()
{
    Run run = tessaro({"--version"});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("tessaro 4.4.5\n"));
    run = tessaro({"--help"});
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.startsWith("Uso: tessaro"));
    QVERIFY(run.out.contains("export-structure FILE.db TABELLA FILE.tsc"));
    for (const QStringList &wrong : {QStringList{"frobnica", "x"}, QStringList{"export", "a.db"}}) {
        run = tessaro(wrong);
        QCOMPARE(run.status, 2);
        QVERIFY(run.err.contains("Uso: tessaro"));
    }
}

void CommandLineTest::tablesAndExportsAsTheWindowWritesThem()
{
    Window s(shop);
    // The tables the window lists, by their shown names, with their counts.
    Run run = tessaro({"tables", s.dbFile});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString("Citta\t2\nClienti\t2\n"));

    const struct {
        const char *verb, *file;
        std::function<void(const QString &)> window;
    } kinds[] = {
        {"export", "c.tvf", [&s](const QString &path) { s.w->exportingToFile(path, "Clienti"); }},
        {"export-text", "c.txt", [&s](const QString &path) { s.w->exportingToFileHumanReading(path, "Clienti"); }},
        {"export-structure", "c.tsc", [&s](const QString &) { s.w->exportingStructure("Clienti", {}); }},
    };
    for (const auto &kind : kinds) {
        const QString cli = s.folder.file(QString("cli-") + kind.file);
        run = tessaro({kind.verb, s.dbFile, "Clienti", cli});
        QCOMPARE(run.status, 0);
        kind.window(s.folder.file(kind.file));
        const QString window = QString(kind.verb) == "export-structure" ? s.folder.file("TrasvoFiles/Clienti.tsc")
                                                                         : s.folder.file(kind.file);
        QVERIFY(!readFile(cli).isEmpty());
        QCOMPARE(readFile(cli), readFile(window));
    }
    QVERIFY(readFile(s.folder.file("cli-c.tvf")).contains("Anna l'Aquila"));
    // A hidden table is named as the window shows it.
    QCOMPARE(tessaro({"export", s.dbFile, "#Note", s.folder.file("n.tvf")}).status, 0);
    QVERIFY(readFile(s.folder.file("n.tvf")).startsWith("HIDDENTABLE_Note\n"));
}

void CommandLineTest::failuresWriteNothing_data()
{
    QTest::addColumn<QStringList>("arguments"); // DB: the database, OUT: the output file
    QTest::addColumn<QString>("said");
    QTest::newRow("no such table") << QStringList{"export", "DB", "Fornitori", "OUT"}
                                   << "ERRORE: La Tabella 'Fornitori' non esiste!";
    QTest::newRow("no such database") << QStringList{"export-text", "nessuno.db", "Citta", "OUT"}
                                      << "ERRORE: Il file nessuno.db non esiste!";
    QTest::newRow("not a database") << QStringList{"tables", "IN"} << "ERRORE: Impossibile aprire il Db!";
    QTest::newRow("output cannot be written") << QStringList{"export", "DB", "Citta", "/proc/nessuna/c.tvf"}
                                              << "ERRORE: Impossibile scrivere sul file!";
    QTest::newRow("import of another table's file")
        << QStringList{"import", "DB", "Clienti", "IN"} << "ERRORE: Il file contiene i Record della tabella 'Citta', non di 'Clienti'!";
}

void CommandLineTest::failuresWriteNothing()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, said);
    TestFolder folder;
    {
        DbConnection db;
        db.openDb(folder.file("a.db"));
        shop(db);
    }
    QVERIFY(writeFile(folder.file("in"), "Citta\nRINTEGERFORMAT_Id###9###RSTRINGFORMAT_Nome###Bari###\n"));
    const QByteArray before = digest(folder.file("a.db"));
    arguments.replaceInStrings(QRegularExpression("^DB$"), folder.file("a.db"));
    arguments.replaceInStrings(QRegularExpression("^OUT$"), folder.file("out"));
    arguments.replaceInStrings(QRegularExpression("^IN$"), folder.file("in"));
    const Run run = tessaro(arguments);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err.trimmed(), said);
    QCOMPARE(digest(folder.file("a.db")), before);
    QVERIFY(!QFile::exists(folder.file("out")));
    QVERIFY(!QFile::exists(folder.file("nessuno.db")));
}

void CommandLineTest::importIsAllOrNothing()
{
    TestFolder folder;
    const QString path = folder.file("a.db");
    {
        DbConnection db;
        db.openDb(path);
        shop(db);
    }
    const QByteArray header = "Clienti\n";
    const QByteArray good = "RINTEGERFORMAT_Id###7###RSTRINGFORMAT_Nome###Luca Verdi###XCitta_XDTX_RSTRINGFORMAT_"
                            "Nome###1###NMONEYFORMAT_Saldo###1.5###NLONGSTRINGFORMAT_UserPath######\n";
    const QByteArray known = QByteArray(good).replace("Luca Verdi", "MARIO  rossi").replace("###7###", "###8###");
    const QByteArray broken = "RINTEGERFORMAT_Id###9###RSTRINGFORMAT_Nome###Eva###\n";

    // A line the table cannot take stops the import: nothing of the file stays.
    QVERIFY(writeFile(folder.file("bad.tvf"), header + good + broken));
    const QByteArray before = digest(path);
    Run run = tessaro({"import", path, "Clienti", folder.file("bad.tvf")});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QString("ERRORE: Tabella Incompatibile!\n"));
    QCOMPARE(digest(path), before);

    // The window's rules: ids kept when free, known identifiers skipped, the
    // user folder composed, numbers in their stored form.
    QVERIFY(writeFile(folder.file("good.tvf"), header + good + known));
    run = tessaro({"import", path, "Clienti", folder.file("good.tvf")});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QString::fromUtf8("Importati 1 Record, saltati 1 già presenti.\n"));
    DbConnection db;
    db.openDb(path);
    QCOMPARE(dumpTable(db, "Clienti").last(),
             QString("RINTEGERFORMAT_Id=7;RSTRINGFORMAT_Nome=Luca Verdi;XCitta_XDTX_RSTRINGFORMAT_Nome=1;"
                     "NMONEYFORMAT_Saldo=1.5;NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Clienti_Luca_Verdi"));
    db.close();

    // A database file that cannot be written is never imported into.
    QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadUser);
    const QByteArray readOnly = digest(path);
    run = tessaro({"import", path, "Clienti", folder.file("good.tvf")}, true);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err.trimmed(), QString::fromUtf8("ERRORE: Il Db %1 non si può modificare!").arg(path));
    QCOMPARE(digest(path), readOnly);
}

void CommandLineTest::writerWaitsForAnotherProgramsLock()
{
    TestFolder folder;
    const QString path = folder.file("a.db");
    {
        DbConnection db;
        db.openDb(path);
        shop(db);
    }
    QVERIFY(writeFile(folder.file("in.tvf"),
                      "Citta\nRINTEGERFORMAT_Id###9###RSTRINGFORMAT_Nome###Bari###\n"));
    {
        QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other program");
        other.setDatabaseName(path);
        QVERIFY(other.open());
        QSqlQuery lock(other);
        QVERIFY(lock.exec("BEGIN IMMEDIATE"));
        QElapsedTimer waited;
        waited.start();
        const Run run = tessaro({"import", path, "Citta", folder.file("in.tvf")});
        QVERIFY2(waited.elapsed() >= 4500, qPrintable(run.err));
        QCOMPARE(run.status, 1);
        QVERIFY(run.err.contains(QString::fromUtf8("in uso da un altro programma")));
        lock.exec("ROLLBACK");
        other.close();
    }
    QSqlDatabase::removeDatabase("other program");
    // Once the lock is gone the same command goes through.
    QCOMPARE(tessaro({"import", path, "Citta", folder.file("in.tvf")}).status, 0);
}

QTEST_MAIN(CommandLineTest)
#include "tst_commandline.moc"

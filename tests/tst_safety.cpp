// Data safety: nothing the user did not ask for is written. Each scenario
// builds, with plain SQL, the database that shows what could go wrong.
#include "app/tessaro.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>
#include <QCryptographicHash>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include <csignal>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Runs statements on a connection of its own, as another tool would.
void build(const QString &path, const QStringList &statements)
{
    {
        QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other tool");
        other.setDatabaseName(path);
        QVERIFY(other.open());
        QSqlQuery q(other);
        for (const QString &statement : statements)
            QVERIFY2(q.exec(statement), qPrintable(statement + ": " + q.lastError().text()));
    }
    QSqlDatabase::removeDatabase("other tool");
}

// Every row of a table with each value as SQLite's quote() gives it: the
// storage class and every byte show.
QStringList exactRows(const QString &path, const QString &table)
{
    QStringList rows;
    {
        QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "reader");
        other.setDatabaseName(path);
        other.open();
        QSqlQuery names(other);
        names.exec(QString("PRAGMA table_info(\"%1\")").arg(table));
        QStringList quoted;
        while (names.next())
            quoted << QString("quote(\"%1\")").arg(names.value(1).toString());
        QSqlQuery q(other);
        q.exec(QString("SELECT %1 FROM \"%2\"").arg(quoted.join(" || '|' || "), table));
        while (q.next())
            rows << q.value(0).toString();
    }
    QSqlDatabase::removeDatabase("reader");
    return rows;
}

QByteArray fileDigest(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return QCryptographicHash::hash(file.readAll(), QCryptographicHash::Sha256);
}

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
}

// Root writes to any file whatever its permissions; a test of a write-protected
// file gives that up for this thread (for good: the permitted set is lowered).
bool dropPermissionOverride()
{
    if (geteuid() != 0)
        return true;
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (syscall(SYS_capget, &header, data) != 0)
        return false;
    for (int cap : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        const unsigned bit = 1u << (cap % 32);
        data[cap / 32].effective &= ~bit;
        data[cap / 32].permitted &= ~bit;
        data[cap / 32].inheritable &= ~bit;
    }
    return syscall(SYS_capset, &header, data) == 0;
}

const char *const ForeignWarning =
    "ERRORE: La Tabella %1 non segue lo schema di questo programma: i suoi Record si possono solo consultare!\n";

} // namespace

// A main window on a database made beforehand, remembered in lastDb.dat.
struct Session {
    TestFolder folder;
    RecordingMessageHandler messages;
    QString path = folder.file("archivio.db");
    QScopedPointer<Tessaro> window;

    explicit Session(const QStringList &statements)
    {
        build(path, statements);
        writeFile(folder.file("lastDb.dat"), path.toUtf8());
    }
    Tessaro &open()
    {
        window.reset(new Tessaro);
        return *window;
    }
    inputDataForm *editor(const QString &column) const
    {
        for (inputDataForm *e : window->inputForms)
            if (e->columnName() == column)
                return e;
        return nullptr;
    }
    void type(const QString &column, const QString &text) const
    {
        editor(column)->findChild<QLineEdit *>("leData")->setText(text);
    }
    void click(const char *name) const { window->findChild<QAbstractButton *>(name)->click(); }
    QStringList rows(const QString &table) const { return exactRows(path, table); }
};

class SafetyTest : public QObject
{
    Q_OBJECT

private slots:
    void valuesAreBound_data();
    void valuesAreBound();
    void untouchedFieldsKeepTheirBytes();
    void recordIsWrittenWholeOrNotAtAll_data();
    void recordIsWrittenWholeOrNotAtAll();
    void foreignTablesAreOnlyBrowsed_data();
    void foreignTablesAreOnlyBrowsed();
    void refusedDeleteIsSaid();
    void damagedTableIsSaidOnce();
    void politeStopClosesNormally_data();
    void politeStopClosesNormally();
    // Last: as root it gives up the permission override for good.
    void readOnlySessionWritesNothing_data();
    void readOnlySessionWritesNothing();
};

void SafetyTest::valuesAreBound_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("stored");
    QTest::newRow("url that ends the statement") << "NURLFORMAT_Sito" << "http://x.it/' --" << "http://x.it/' --";
    QTest::newRow("paired quotes are a literal") << "NSTRINGFORMAT_Nota" << "l''anno" << "l'anno";
    QTest::newRow("mail with one quote") << "NMAILFORMAT_Posta" << "o'brien@esempio.it" << "o'brien@esempio.it";
    QTest::newRow("odd run of quotes") << "NSTRINGFORMAT_Nota" << "a'''b" << "a'''b";
}

void SafetyTest::valuesAreBound()
{
    QFETCH(QString, column);
    QFETCH(QString, value);
    Session s({"CREATE TABLE T (RINTEGERFORMAT_Id integer primary key, NURLFORMAT_Sito text, "
               "NSTRINGFORMAT_Nota text, NMAILFORMAT_Posta text, NINTEGERFORMAT_N text)",
               "INSERT INTO T VALUES (1, 'a', 'a', 'a', 'a'), (2, 'b', 'b', 'b', 'b')"});
    DbConnection db;
    QVERIFY(db.openDb(s.path));
    QVERIFY(db.updateField("T", 1, column, value));
    QTEST(db.getRecordById("T", 1).value(column).toString(), "stored");
    // The other row is untouched, and the value finds its row by the same rule.
    QCOMPARE(s.rows("T").at(1), QString("2|'b'|'b'|'b'|'b'"));
    QCOMPARE(db.findRecord("T", column, value).value(0).toInt(), 1);
    QVERIFY(s.messages.said.isEmpty());
}

void SafetyTest::untouchedFieldsKeepTheirBytes()
{
    const QString longText(40000, QChar('a'));
    Session s({"CREATE TABLE Misto (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text, "
               "NDATEFORMAT_Data text, NBOOLFORMAT_Attivo text, NINTEGERFORMAT_Pezzi, NREALFORMAT_Peso text, "
               "NMONEYFORMAT_Saldo, NSTRINGFORMAT_Note text, NLONGSTRINGFORMAT_Testo text, NURLFORMAT_Sito text, "
               "NMAILFORMAT_Posta text, XAltra_XDTX_RSTRINGFORMAT_Nome Integer, NSUBTABLEFORMAT_Righe text, "
               "NLINKFORMAT_Ordini text)",
               "INSERT INTO Misto VALUES (1, 'Anna', '2020-01-31', '1', 1500000000, 'abc', 12.345, "
               "'due  spazi\ne a capo ', '" + longText + "', 'http://x.it/'' --', 'o''brien@esempio.it', 7, "
               "'cfg', 'Ordini')",
               "INSERT INTO Misto VALUES (2, 'Bruno', '', 'FALSE', 3, '1.5', '2', 'b', 'b', 'http://y.it', "
               "'b@esempio.it', NULL, '', 'vecchio')"});
    const QStringList before = s.rows("Misto");
    Tessaro &w = s.open();
    QCOMPARE(w.currentTable, QString("Misto"));
    w.currentId = 1;
    w.updateUser();
    w.newRecord();
    // Only the designed writes: the subtable column emptied (the link column
    // already names its table).
    QStringList expected = before;
    expected[0].replace("|'cfg'|", "|''|");
    QCOMPARE(s.rows("Misto"), expected);
    QVERIFY(s.messages.said.isEmpty());

    // What the user edits is saved as designed; the rest stays as it was.
    w.updateUser();
    s.type("NSTRINGFORMAT_Note", " nuova   nota ");
    s.editor("NINTEGERFORMAT_Pezzi")->findChild<QSpinBox *>("sbNum")->setValue(12);
    w.newRecord();
    expected[0].replace("|1500000000|", "|'12'|").replace("|'due  spazi\ne a capo '|", "|'nuova nota'|");
    QCOMPARE(s.rows("Misto"), expected);
    QVERIFY(s.messages.said.isEmpty());
}

void SafetyTest::recordIsWrittenWholeOrNotAtAll_data()
{
    QTest::addColumn<QStringList>("setup");     // run by another tool before the window opens
    QTest::addColumn<QString>("windowSetup");   // run on the window's own connection
    QTest::addColumn<QString>("note");          // what the user types that cannot be written
    QTest::addColumn<QString>("reason");        // part of what the user is told
    const QString table = "CREATE TABLE Contatti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text, "
                          "NSTRINGFORMAT_Nota text%1)";
    QTest::newRow("trigger") << QStringList{table.arg(""),
                                            "CREATE TRIGGER no_notes BEFORE UPDATE OF NSTRINGFORMAT_Nota ON Contatti "
                                            "WHEN NEW.NSTRINGFORMAT_Nota = 'vietata' "
                                            "BEGIN SELECT RAISE(ABORT, 'nota vietata'); END"}
                             << QString() << "vietata" << "nota vietata";
    QTest::newRow("trigger that rolls back") << QStringList{table.arg(""),
                                            "CREATE TRIGGER no_notes BEFORE UPDATE OF NSTRINGFORMAT_Nota ON Contatti "
                                            "WHEN NEW.NSTRINGFORMAT_Nota = 'vietata' "
                                            "BEGIN SELECT RAISE(ROLLBACK, 'nota vietata'); END"}
                             << QString() << "vietata" << "nota vietata";
    QTest::newRow("constraint") << QStringList{table.arg(", CHECK (NSTRINGFORMAT_Nota <> 'vietata')")} << QString()
                                << "vietata" << "CHECK constraint failed";
    QTest::newRow("full disk") << QStringList{table.arg("")} << "PRAGMA max_page_count = 4" << QString(60000, 'n')
                               << "full";
}

void SafetyTest::recordIsWrittenWholeOrNotAtAll()
{
    QFETCH(QStringList, setup);
    QFETCH(QString, windowSetup);
    QFETCH(QString, note);
    QFETCH(QString, reason);
    Session s(setup + QStringList{"INSERT INTO Contatti VALUES (1, 'Anna', 'prima')"});
    Tessaro &w = s.open();
    if (!windowSetup.isEmpty())
        QVERIFY(QSqlQuery(QSqlDatabase::database()).exec(windowSetup));
    const QStringList before = s.rows("Contatti");

    w.changeToNewUserPage();
    s.type("RSTRINGFORMAT_Nome", "Bruno");
    s.type("NSTRINGFORMAT_Nota", note);
    w.newRecord();
    QCOMPARE(s.rows("Contatti"), before);
    QCOMPARE(s.messages.warnings.size(), 1);
    QVERIFY2(s.messages.warnings.first().contains(reason), qPrintable(s.messages.warnings.first()));

    w.currentId = 1;
    w.updateUser();
    s.type("RSTRINGFORMAT_Nome", "Carla");
    s.type("NSTRINGFORMAT_Nota", note);
    w.newRecord();
    QCOMPARE(s.rows("Contatti"), before);
    QCOMPARE(s.messages.warnings.size(), 2);
    QVERIFY(s.messages.warnings.last().contains(reason));

    // Afterwards a record that can be written is written whole.
    w.updateUser();
    s.type("RSTRINGFORMAT_Nome", "Carla");
    s.type("NSTRINGFORMAT_Nota", "va bene");
    w.newRecord();
    QCOMPARE(s.rows("Contatti"), QStringList("1|'Carla'|'va bene'"));
}

void SafetyTest::foreignTablesAreOnlyBrowsed_data()
{
    QTest::addColumn<QString>("table");
    QTest::newRow("made by another tool") << "Rubrica";
    QTest::newRow("id column that is no key") << "Conti";
    QTest::newRow("full-text index") << "Indice";
    QTest::newRow("inner table of the index") << "Indice_content";
}

void SafetyTest::foreignTablesAreOnlyBrowsed()
{
    QFETCH(QString, table);
    Session s({"CREATE TABLE Rubrica (nome text, telefono text)", "INSERT INTO Rubrica VALUES ('Anna', '123')",
               "CREATE TABLE Conti (RINTEGERFORMAT_Id text, NSTRINGFORMAT_Nome text)",
               "INSERT INTO Conti VALUES ('1', 'cassa')", "CREATE VIRTUAL TABLE Indice USING fts5(testo)",
               "INSERT INTO Indice VALUES ('prima riga'), ('seconda riga')"});
    Tessaro &w = s.open();
    const QByteArray before = exactRows(s.path, table).join('\n').toUtf8();
    w.changeTable(table);
    s.messages.defaultAnswer = true;
    s.click("pbNewUser");
    s.click("pbEditUser");
    s.click("pbDeleteUser");
    w.findChild<QAction *>("actionClear_Selected_List")->trigger();
    w.findChild<QAction *>("actionClear_All_Tables")->trigger();
    QCOMPARE(exactRows(s.path, table).join('\n').toUtf8(), before);
    const QString refused = QString::fromUtf8(ForeignWarning).arg(table);
    QCOMPARE(s.messages.warnings, QStringList({refused, refused, refused, refused}));
    QCOMPARE(s.messages.questions, QStringList("Eliminare tutti gli elementi in tutto il database?"));
    QSqlQuery check(QSqlDatabase::database());
    QVERIFY2(check.exec("INSERT INTO Indice(Indice) VALUES ('integrity-check')"), qPrintable(check.lastError().text()));
    QCOMPARE(w.connection()->countRecords("Indice"), 2);
}

void SafetyTest::refusedDeleteIsSaid()
{
    Session s({"CREATE TABLE Clienti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text)",
               "INSERT INTO Clienti VALUES (1, 'Anna'), (2, 'Bruno')",
               "CREATE TRIGGER keep BEFORE DELETE ON Clienti BEGIN SELECT RAISE(ABORT, 'record protetto'); END"});
    Tessaro &w = s.open();
    w.currentId = 2;
    w.deleteUser();
    QCOMPARE(s.messages.warnings.size(), 1);
    QVERIFY(s.messages.warnings.first().startsWith("ERRORE: Impossibile eliminare il Record!\n"));
    QVERIFY(s.messages.warnings.first().contains("record protetto"));
    QCOMPARE(s.rows("Clienti"), QStringList({"1|'Anna'", "2|'Bruno'"}));
    QCOMPARE(w.currentId, 2);
    w.clearTable();
    QCOMPARE(s.messages.warnings.size(), 2);
    QVERIFY(s.messages.warnings.last().startsWith("ERRORE: Impossibile svuotare la Tabella Clienti!\n"));
}

void SafetyTest::damagedTableIsSaidOnce()
{
    QStringList setup = {"PRAGMA page_size = 1024",
                         "CREATE TABLE Grande (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text)"};
    for (int i = 1; i <= 400; ++i)
        setup << QString("INSERT INTO Grande VALUES (%1, 'riga %1 %2')").arg(i).arg(QString(200, 'x'));
    Session s(setup);
    {
        // A leaf page in the middle of the table is overwritten.
        QFile file(s.path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.size() > 60 * 1024);
        file.seek(50 * 1024);
        file.write(QByteArray(16, char(0xff)));
    }
    Tessaro &w = s.open();
    const int listed = w.findChild<QListWidget *>("userListWidget")->count();
    QVERIFY2(listed > 0 && listed < 400, qPrintable(QString::number(listed)));
    w.changeTable("Grande");
    w.nextRecord();
    QCOMPARE(s.messages.warnings.size(), 1);
    QVERIFY2(s.messages.warnings.first().startsWith(QString::fromUtf8("ERRORE: La Tabella Grande è danneggiata")),
             qPrintable(s.messages.warnings.first()));
}

void SafetyTest::politeStopClosesNormally_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << int(SIGTERM);
    QTest::newRow("SIGINT") << int(SIGINT);
}

void SafetyTest::politeStopClosesNormally()
{
    QFETCH(int, signal);
    TestFolder folder;
    QProcess program;
    program.setWorkingDirectory(folder.path());
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    program.setProcessEnvironment(environment);
    program.start(TESSARO_BINARY, QStringList());
    QVERIFY(program.waitForStarted());
    // The window has taken the lock once the marker holds "Locked".
    QTRY_VERIFY_WITH_TIMEOUT(QFile(folder.file("lockDb.dat")).size() == 6, 30000);
    QCOMPARE(::kill(pid_t(program.processId()), signal), 0);
    QVERIFY(program.waitForFinished(30000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QVERIFY(!QFile::exists(folder.file("lockDb.dat")));
}

void SafetyTest::readOnlySessionWritesNothing_data()
{
    QTest::addColumn<bool>("locked");
    QTest::newRow("another instance holds the lock") << true;
    QTest::newRow("file that cannot be written") << false;
}

void SafetyTest::readOnlySessionWritesNothing()
{
    QFETCH(bool, locked);
    // No system tables, and a link column that does not hold its table's name.
    Session s({"CREATE TABLE Clienti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text, "
               "NLINKFORMAT_Ordini text)",
               "INSERT INTO Clienti VALUES (1, 'Anna', 'vecchio')"});
    if (locked) {
        writeFile(s.folder.file("lockDb.dat"), "Locked");
    } else {
        QVERIFY(QFile::setPermissions(s.path, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        QVERIFY(dropPermissionOverride());
        if (QFileInfo(s.path).isWritable())
            QSKIP("this process may write to write-protected files");
    }
    const QByteArray before = fileDigest(s.path);
    Tessaro &w = s.open();
    QCOMPARE(w.windowTitle(), QString("DB Administration Tool - READONLY"));
    QCOMPARE(w.currentTable, QString("Clienti"));
    QCOMPARE(w.findChild<QListWidget *>("userListWidget")->count(), 1);
    w.vwRecord(1);
    QVERIFY(!w.findChild<QPushButton *>("pbEditUser")->isEnabled());
    s.window.reset();
    QCOMPARE(fileDigest(s.path), before);
    QVERIFY(s.messages.said.isEmpty());
    // A lock this instance did not write stays; one it wrote goes.
    QCOMPARE(QFile::exists(s.folder.file("lockDb.dat")), locked);
}

QTEST_MAIN(SafetyTest)
#include "tst_safety.moc"

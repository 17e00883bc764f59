// What the program never does to a database: values only ever bound, bytes
// left as they were, records written whole, foreign tables and read-only
// sessions left alone, failures never passed over in silence.
#include "testsupport.h"

#include <csignal>
#include <linux/capability.h>
#include <sys/syscall.h>

namespace {

// Every row of table as another tool sees it, on a connection of its own:
// each value as quote() shows it (storage class and every byte).
QStringList quotedRows(const QString &path, const QString &table)
{
    DbConnection other;
    other.openDb(path, {false, true, 0});
    QStringList quoted, rows;
    for (const QString &column : other.getFieldNames(table))
        quoted << "quote(" + DbConnection::sqlName(column) + ")";
    QSqlQuery q = sqlOn(other);
    q.exec("SELECT " + quoted.join(" || '|' || ") + " FROM " + DbConnection::sqlName(table));
    while (q.next())
        rows << q.value(0).toString();
    return rows;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// As root, permissions do not stop writes: this thread gives that up for good.
bool dropPermissionOverride()
{
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (syscall(SYS_capget, &header, data) != 0)
        return false;
    for (int cap : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
        data[cap / 32].effective &= ~(1u << (cap % 32));
        data[cap / 32].permitted &= ~(1u << (cap % 32));
    }
    return syscall(SYS_capset, &header, data) == 0;
}

} // namespace

class SafetyTest : public QObject
{
    Q_OBJECT

private slots:
    void valuesAreBound_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("stored");
        QTest::newRow("url that ends the statement") << "NURLFORMAT_Sito" << "http://x.it/' --" << "'http://x.it/'' --'";
        QTest::newRow("paired quotes are a literal") << "NSTRINGFORMAT_Nota" << "l''anno" << "'l''anno'";
        QTest::newRow("mail with one quote") << "NMAILFORMAT_Posta" << "o'brien@esempio.it" << "'o''brien@esempio.it'";
        QTest::newRow("odd run of quotes") << "NSTRINGFORMAT_Nota" << "a'''b" << "'a''''''b'";
    }
    void valuesAreBound()
    {
        QFETCH(QString, column);
        QFETCH(QString, value);
        TestFolder folder;
        RecordingMessageHandler messages;
        DbConnection db;
        reportTo(db, messages);
        QVERIFY(db.openDb(folder.file("x.db")));
        QVERIFY(makeTable(db, "T", {"NURLFORMAT_Sito", "NSTRINGFORMAT_Nota", "NMAILFORMAT_Posta"}, {"a|a|a", "b|b|b"}));
        QVERIFY(db.updateField("T", 1, column, value));
        const QStringList rows = quotedRows(folder.file("x.db"), "T");
        QTEST(rows.at(0).split('|').at(db.getFieldNames("T").indexOf(column)), "stored");
        QCOMPARE(rows.at(1), QString("2|'b'|'b'|'b'")); // the other row stays
        // The value finds its row by the same rule.
        QCOMPARE(db.findRecord("T", column, value).value(0).toInt(), 1);
        QVERIFY(messages.said.isEmpty());
    }

    void untouchedFieldsKeepTheirBytes()
    {
        QStringList expected;
        Window s([&expected](DbConnection &db) {
            run(db, {"CREATE TABLE Misto (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text, "
                     "RDATEFORMAT_Data text, NBOOLFORMAT_Attivo text, NINTEGERFORMAT_Pezzi, NREALFORMAT_Peso text, "
                     "NMONEYFORMAT_Saldo, NSTRINGFORMAT_Note text, NLONGSTRINGFORMAT_Testo text, NURLFORMAT_Sito text, "
                     "NMAILFORMAT_Posta text, XAltra_XDTX_RSTRINGFORMAT_Nome Integer, NSUBTABLEFORMAT_Righe text, "
                     "NLINKFORMAT_Ordini text)",
                     "INSERT INTO Misto VALUES (1, 'Anna', '2020-01-31', '1', 1500000000, 'abc', 12.345, "
                     "'due  spazi\ne a capo ', '" + QString(40000, 'a') + "', 'http://x.it/'' --', 'o''brien@esempio.it', "
                     "7, 'cfg', 'Ordini'), (2, 'Bruno', '', 'FALSE', 3, '1.5', '2', 'b', 'b', 'u', 'm', NULL, '', 'x')"});
            expected = quotedRows(db.filePath(), "Misto");
        });
        s.w->currentId = 1;
        s.w->updateUser();
        s.w->newRecord();
        // Only the designed write: the subtable column emptied (the link column
        // already names its table).
        expected[0].replace("|'cfg'|", "|''|");
        QCOMPARE(quotedRows(s.dbFile, "Misto"), expected);

        // What the user edits is saved as designed; the rest stays as it was.
        s.w->updateUser();
        s.set("NSTRINGFORMAT_Note", " nuova   nota ");
        s.editor("NINTEGERFORMAT_Pezzi")->findChild<QSpinBox *>("sbNum")->setValue(12);
        s.w->newRecord();
        expected[0].replace("|1500000000|", "|'12'|").replace("|'due  spazi\ne a capo '|", "|'nuova nota'|");
        QCOMPARE(quotedRows(s.dbFile, "Misto"), expected);
        QVERIFY(s.messages.said.isEmpty());
    }

    void recordIsWrittenWholeOrNotAtAll_data()
    {
        QTest::addColumn<QString>("setup");  // run on the window's own connection
        QTest::addColumn<QString>("note");   // what the user types that cannot be written
        QTest::addColumn<QString>("reason"); // part of what the user is told
        const QString trigger = "CREATE TRIGGER t BEFORE UPDATE OF NSTRINGFORMAT_Nota ON Contatti WHEN "
                                "NEW.NSTRINGFORMAT_Nota = 'vietata' BEGIN SELECT RAISE(%1, 'nota vietata'); END";
        QTest::newRow("trigger") << trigger.arg("ABORT") << "vietata" << "nota vietata";
        QTest::newRow("trigger that rolls back") << trigger.arg("ROLLBACK") << "vietata" << "nota vietata";
        QTest::newRow("constraint") << QString() << "vietata" << "CHECK constraint failed";
        QTest::newRow("full disk") << "PRAGMA max_page_count = 4" << QString(60000, 'n') << "full";
    }
    void recordIsWrittenWholeOrNotAtAll()
    {
        QFETCH(QString, setup);
        QFETCH(QString, note);
        QFETCH(QString, reason);
        // The table's own constraint refuses the note, unless a trigger does first.
        Window s({"CREATE TABLE Contatti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text, "
                  "NSTRINGFORMAT_Nota text CHECK (NSTRINGFORMAT_Nota <> 'vietata'))",
                  "INSERT INTO Contatti VALUES (1, 'Anna', 'prima')"});
        if (!setup.isEmpty())
            run(s.db(), {setup});
        const QStringList before = quotedRows(s.dbFile, "Contatti");

        // A new record, then an edited one, whose note cannot be written.
        for (bool edit : {false, true}) {
            s.w->currentId = 1;
            edit ? s.w->updateUser() : s.w->changeToNewUserPage();
            s.set("RSTRINGFORMAT_Nome", "Carla");
            s.set("NSTRINGFORMAT_Nota", note);
            s.w->newRecord();
            QCOMPARE(quotedRows(s.dbFile, "Contatti"), before);
            QCOMPARE(s.messages.warnings.size(), edit ? 2 : 1);
            QVERIFY2(s.messages.warnings.last().contains(reason), qPrintable(s.messages.warnings.last()));
        }
        // A record that can be written is written whole.
        s.w->updateUser();
        s.set("RSTRINGFORMAT_Nome", "Carla");
        s.set("NSTRINGFORMAT_Nota", "va bene");
        s.w->newRecord();
        QCOMPARE(quotedRows(s.dbFile, "Contatti"), QStringList("1|'Carla'|'va bene'"));
    }

    void foreignTablesAreOnlyBrowsed_data()
    {
        QTest::addColumn<QString>("table");
        QTest::newRow("made by another tool") << "Rubrica";
        QTest::newRow("id column that is no key") << "Conti";
        QTest::newRow("full-text index") << "Indice";
        QTest::newRow("inner table of the index") << "Indice_content";
    }
    void foreignTablesAreOnlyBrowsed()
    {
        QFETCH(QString, table);
        Window s({"CREATE TABLE Rubrica (nome text, telefono text)", "INSERT INTO Rubrica VALUES ('Anna', '123')",
                  "CREATE TABLE Conti (RINTEGERFORMAT_Id text, NSTRINGFORMAT_Nome text)",
                  "INSERT INTO Conti VALUES ('1', 'cassa')", "CREATE VIRTUAL TABLE Indice USING fts5(testo)",
                  "INSERT INTO Indice VALUES ('prima riga'), ('seconda riga')"});
        const QStringList before = quotedRows(s.dbFile, table);
        s.w->changeTable(table);
        for (const char *button : {"pbNewUser", "pbEditUser", "pbDeleteUser"})
            s.click(button);
        s.child<QAction>("actionClear_Selected_List")->trigger();
        s.child<QAction>("actionClear_All_Tables")->trigger(); // skips it
        QCOMPARE(quotedRows(s.dbFile, table), before);
        const QString refused = QString::fromUtf8("ERRORE: La Tabella %1 non segue lo schema di questo programma: i "
                                                  "suoi Record si possono solo consultare!\n").arg(table);
        QCOMPARE(s.messages.warnings, QStringList({refused, refused, refused, refused}));
        run(s.db(), {"INSERT INTO Indice(Indice) VALUES ('integrity-check')"});
    }

    void failuresAreSaid()
    {
        QStringList setup = {"PRAGMA page_size = 1024",
                             "CREATE TABLE Clienti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text)",
                             "INSERT INTO Clienti VALUES (1, 'Anna'), (2, 'Bruno')",
                             "CREATE TRIGGER keep BEFORE DELETE ON Clienti BEGIN SELECT RAISE(ABORT, 'protetto'); END",
                             "CREATE TABLE Grande (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text)"};
        for (int i = 1; i <= 400; ++i)
            setup << QString("INSERT INTO Grande VALUES (%1, '%1 %2')").arg(i).arg(QString(200, 'x'));
        Window s(setup);

        // A delete the database refuses is said, and the record stays shown.
        s.w->currentId = 2;
        s.w->deleteUser();
        QCOMPARE(s.w->currentId, 2);
        s.w->clearTable();
        QCOMPARE(quotedRows(s.dbFile, "Clienti"), QStringList({"1|'Anna'", "2|'Bruno'"}));
        QCOMPARE(s.messages.warnings.size(), 2);
        QVERIFY(s.messages.warnings.at(0).startsWith("ERRORE: Impossibile eliminare il Record!\n"));
        QVERIFY(s.messages.warnings.at(1).startsWith("ERRORE: Impossibile svuotare la Tabella Clienti!\n"));
        QVERIFY(s.messages.warnings.at(1).contains("protetto"));

        // A table cut short by damage in the file: once, however often it is read.
        s.w.reset();
        {
            QFile file(s.dbFile);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.size() > 80 * 1024);
            file.seek(50 * 1024); // a page in the middle of Grande
            file.write(QByteArray(16, char(0xff)));
        }
        s.messages.clear();
        s.restart();
        s.w->changeTable("Grande");
        const int listed = s.items().size();
        QVERIFY2(listed > 0 && listed < 400, qPrintable(QString::number(listed)));
        s.w->changeTable("Grande");
        s.w->nextRecord();
        QCOMPARE(s.messages.warnings.size(), 1);
        QVERIFY(s.messages.warnings.first().startsWith(QString::fromUtf8("ERRORE: La Tabella Grande è danneggiata")));
    }

    void politeStopClosesNormally_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
    }
    void politeStopClosesNormally()
    {
        QFETCH(int, signal);
        TestFolder folder;
        QProcess program;
        program.setWorkingDirectory(folder.path());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        program.setProcessEnvironment(environment);
        program.start(TESSARO_BINARY, QStringList());
        // The window has taken the lock once the marker holds "Locked".
        QTRY_VERIFY_WITH_TIMEOUT(contents(folder.file("lockDb.dat")) == "Locked", 30000);
        QCOMPARE(::kill(pid_t(program.processId()), signal), 0);
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY(!QFile::exists(folder.file("lockDb.dat")));
    }

    // Last: as root it gives up the permission override for good.
    void readOnlySessionWritesNothing_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::newRow("another instance holds the lock") << true;
        QTest::newRow("file that cannot be written") << false;
    }
    void readOnlySessionWritesNothing()
    {
        QFETCH(bool, locked);
        QByteArray before;
        // No system tables, and a link column that does not hold its table's name.
        Window s([&](DbConnection &db) {
            run(db, {"CREATE TABLE Clienti (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Nome text, "
                     "NLINKFORMAT_Ordini text)",
                     "INSERT INTO Clienti VALUES (1, 'Anna', 'vecchio')"});
            if (locked)
                QVERIFY(writeFile("lockDb.dat", "Locked"));
            else if (QFile::setPermissions(db.filePath(), QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther)
                     && QFileInfo(db.filePath()).isWritable())
                dropPermissionOverride();
            before = contents(db.filePath());
        });
        if (!locked && QFileInfo(s.dbFile).isWritable())
            QSKIP("this process may write to write-protected files");
        QCOMPARE(s.w->windowTitle(), QString("DB Administration Tool - READONLY"));
        QCOMPARE(s.items().size(), 1);
        s.w->vwRecord(1);
        s.w.reset();
        QCOMPARE(contents(s.dbFile), before);
        QVERIFY(s.messages.said.isEmpty());
        // A lock this instance did not write stays; one it wrote goes.
        QCOMPARE(QFile::exists(s.folder.file("lockDb.dat")), locked);
    }
};

QTEST_MAIN(SafetyTest)
#include "tst_safety.moc"

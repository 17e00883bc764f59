// Nothing lost: automatic copies and restore, a whole copy to take away, the
// check of a database and its attachments, attachments that wait for their
// record, and what the data-safety work left.
#include "app/tessaro.h"
#include "records/imagebox.h"
#include "records/inputdataform.h"
#include "records/outputdataform.h"
#include "storage/backupcopies.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QDirIterator>
#include <QProcess>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QtTest>
#include <QtWidgets>

namespace {

// Clienti with a picture on disk for Rossi, and Citta.
void archive(DbConnection &db)
{
    makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto"},
              {"Rossi|TABLES_DOC/Clienti_Rossi|TABLES_DOC/Clienti_Rossi/r.png", "Bianchi|TABLES_DOC/Clienti_Bianchi|"});
    makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma"});
    const QString folder = QFileInfo(db.filePath()).path();
    QDir().mkpath(folder + "/TABLES_DOC/Clienti_Rossi");
    writeFile(folder + "/TABLES_DOC/Clienti_Rossi/r.png", "picture");
}

QStringList files(const QString &folder)
{
    QStringList found;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext())
        found << QDir(folder).relativeFilePath(walk.next());
    found.sort();
    return found;
}

int run(const QStringList &arguments, QString *out = nullptr)
{
    QProcess tessaro;
    tessaro.start(TESSARO_BINARY, arguments);
    tessaro.waitForFinished(30000);
    if (out)
        *out = QString::fromUtf8(tessaro.readAllStandardOutput());
    return tessaro.exitCode();
}

} // namespace

class CopiesTest : public QObject
{
    Q_OBJECT

private slots:
    void copiesBeforeEachBulkChange();
    void droppedTableComesBackWhole();
    void wholeCopyToTakeAway();
    void checkFindsWhatIsMissingOrOrphaned();
    void attachmentsWaitForTheirRecord();
    void leftFromTheSafetyWork();
};

void CopiesTest::copiesBeforeEachBulkChange()
{
    Window s(archive);
    const QString backups = s.folder.file("Backup");
    auto actions = [&] {
        QStringList named;
        for (const BackupCopies::Copy &copy : BackupCopies(s.db(), s.dbFile).list())
            named << copy.action;
        return named;
    };
    s.w->changeTable("Citta");
    s.w->findChild<QAction *>("actionClear_Selected_List")->trigger();
    QCOMPARE(actions(), QStringList("pulisci"));
    QVERIFY(QRegularExpression("^test-\\d{4}-\\d\\d-\\d\\d-\\d{4}-pulisci\\.db$")
                .match(QDir(backups).entryList(QDir::Files).value(0))
                .hasMatch());

    // The last ten are kept, the newest first.
    for (int i = 0; i < 11; ++i)
        QVERIFY(s.w->copyBefore(QString("prova%1").arg(i)));
    QCOMPARE(actions().size(), 10);
    QCOMPARE(actions().first(), QString("prova10"));

    // No copy, no action, unless the user goes on without one.
    s.w->insertRecord("Citta", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "Milano"}}, false);
    QDir(backups).removeRecursively();
    QVERIFY(writeFile(backups, "a file where the folder goes"));
    s.messages.answers << true << false << true << true;
    s.w->findChild<QAction *>("actionClear_Selected_List")->trigger();
    QCOMPARE(s.db().countRecords("Citta"), 1);
    QVERIFY(s.messages.questions.last().startsWith("ERRORE: Impossibile fare la copia di sicurezza del Db!"));
    s.w->findChild<QAction *>("actionClear_Selected_List")->trigger();
    QCOMPARE(s.db().countRecords("Citta"), 0);
    QFile::remove(backups);

    // Closing after changes leaves one more; a read-only session none.
    s.w.reset();
    QCOMPARE(QDir(backups).entryList({"*-chiusura.db"}).size(), 1);
    writeFile("lockDb.dat", "Locked");
    s.restart();
    s.w->changeTable("Citta");
    s.w->copyBefore("prova");
    s.w.reset();
    QCOMPARE(QDir(backups).entryList(QDir::Files).size(), 1);
}

void CopiesTest::droppedTableComesBackWhole()
{
    Window s(archive);
    const QStringList before = s.rows("Clienti");
    s.w->changeTable("Clienti");
    s.w->removeTable();
    QVERIFY(!s.db().tableExists("Clienti"));

    // Advanced Mode shows the action; the newest copy is the one before the drop.
    QVERIFY(!s.child<QAction>("actionRestore_Copy")->isVisible());
    s.child<QAction>("actionTech_Mod")->setChecked(true);
    s.w->enableTechMod();
    QVERIFY(s.child<QAction>("actionRestore_Copy")->isVisible());
    s.messages.choices << 0;
    s.child<QAction>("actionRestore_Copy")->trigger();
    QCOMPARE(s.messages.choiceItems.first().section("  ", 1), QString("elimina-tabella"));
    QCOMPARE(s.rows("Clienti"), before);
    QVERIFY(QFile::exists(s.folder.file("TABLES_DOC/Clienti_Rossi/r.png")));
    // The restore can itself be undone.
    QCOMPARE(BackupCopies(s.db(), s.dbFile).list().first().action, QString("ripristino"));
}

void CopiesTest::wholeCopyToTakeAway()
{
    Window s(archive);
    const QString away = s.folder.file("away"), cli = s.folder.file("cli");
    s.messages.folderAnswers << away;
    s.w->saveFullCopy();
    QCOMPARE(run({"backup", s.dbFile, "--to", cli}), 0);
    for (const QString &folder : {away, cli}) {
        QCOMPARE(files(folder), QStringList({"TABLES_DOC/Clienti_Rossi/r.png", "test.db"}));
        DbConnection copy;
        QVERIFY(copy.openDb(folder + "/test.db"));
        QCOMPARE(dumpTable(copy, "Clienti"), s.rows("Clienti"));
    }
    // Without a folder, a copy as the automatic ones: read in pieces, whole,
    // of a database in write-ahead mode while another program writes to it.
    QStringList many;
    for (int i = 0; i < 3000; ++i)
        many << QString("Citta %1 %2|").arg(i).arg(QString(i % 97, QChar('x')));
    makeTable(s.db(), "Molte", {"RSTRINGFORMAT_Nome", "NLONGSTRINGFORMAT_Note"}, many);
    run(s.db(), {"PRAGMA journal_mode = WAL"});
    QSqlDatabase other = QSqlDatabase::addDatabase("QSQLITE", "other");
    other.setDatabaseName(s.dbFile);
    QVERIFY(other.open() && other.transaction());
    QSqlQuery(other).exec("DELETE FROM \"Molte\"");
    QString out;
    QCOMPARE(run({"backup", s.dbFile}, &out), 0);
    QVERIFY(out.trimmed().endsWith("-comando.db"));
    DbConnection copy;
    QVERIFY(copy.openDb(out.trimmed()));
    QCOMPARE(copy.integrityProblems(), QStringList());
    QCOMPARE(dumpTable(copy, "Molte"), dumpTable(s.db(), "Molte"));
    other.rollback();
}

void CopiesTest::checkFindsWhatIsMissingOrOrphaned()
{
    Window s([](DbConnection &db) {
        archive(db);
        makeTable(db, "HIDDENTABLE_Clienti_XSBTX_SUBTABLEFORMAT_Righe_XSBTUSRX_Righe",
                  {"NINTEGERFORMAT_OwnerId", "RSTRINGFORMAT_Voce"}, {"1|buona"});
    });
    QString out;
    QCOMPARE(run({"check", s.dbFile}, &out), 0);
    for (const int owner : {7, 8})
        s.w->insertRecord("HIDDENTABLE_Clienti_XSBTX_SUBTABLEFORMAT_Righe_XSBTUSRX_Righe",
                          {{"RINTEGERFORMAT_Id", "0"}, {"NINTEGERFORMAT_OwnerId", QString::number(owner)},
                           {"RSTRINGFORMAT_Voce", QString("orfana%1").arg(owner)}},
                          false);
    QVERIFY(QDir().mkpath(s.folder.file("TABLES_DOC/Vecchi")));
    QVERIFY(QDir().mkpath(s.folder.file("TABLES_DOC/Clienti_Bianchi")));
    QVERIFY(writeFile(s.folder.file("TABLES_DOC/Vecchi/v.pdf"), ""));
    QVERIFY(writeFile(s.folder.file("TABLES_DOC/Clienti_Bianchi/dimenticato.png"), ""));
    QFile::remove(s.folder.file("TABLES_DOC/Clienti_Rossi/r.png"));
    QCOMPARE(run({"check", s.dbFile}, &out), 1);
    QCOMPARE(out, QString::fromUtf8("Integrità del file: nessun problema.\n"
                                    "File mancanti: 1\n"
                                    "  - Clienti, Record 1, campo Foto: TABLES_DOC/Clienti_Rossi/r.png\n"
                                    "File orfani (nessun Record li usa): 2\n"
                                    "  - TABLES_DOC/Clienti_Bianchi/dimenticato.png\n"
                                    "  - TABLES_DOC/Vecchi/v.pdf\n"
                                    "Cartelle orfane (di nessun Record): 1\n"
                                    "  - TABLES_DOC/Vecchi\n"
                                    "Righe di sottotabelle senza Record proprietario: 2\n"
                                    "  - #Clienti->Righe->Righe: 2\n"));
    // The window tells the same, and puts the orphans aside: nothing is deleted.
    s.messages.answers << true;
    s.w->findChild<QAction *>("actionCheck_Db")->trigger();
    QVERIFY(s.messages.said.filter("information: ").last().endsWith(out.trimmed()));
    QCOMPARE(files(s.folder.file("TABLES_DOC/_orfani")), QStringList({"Clienti_Bianchi/dimenticato.png", "Vecchi/v.pdf"}));
}

void CopiesTest::attachmentsWaitForTheirRecord()
{
    Window s(archive);
    const QString picture = s.folder.file("nuova.png");
    QVERIFY(writeFile(picture, "new picture"));
    auto attach = [&s, &picture] {
        s.w->changeTable("Clienti");
        s.w->vwRecord(2);
        s.click("pbEditUser");
        inputDataForm *photo = s.editor("NIMAGEFORMAT_Foto");
        photo->viewImageBox();
        s.messages.fileAnswers << picture;
        photo->imageBox()->addReplace();
        photo->imageBox()->accepted();
        photo->imageBox()->hide();
    };
    const QString placed = s.folder.file("TABLES_DOC/Clienti_Bianchi/nuova.png");
    // Waiting beside its place, under a name of its own, until the save.
    attach();
    QCOMPARE(files(s.folder.file("TABLES_DOC/Clienti_Bianchi")), QStringList(".tessaro-nuovo-nuova.png"));
    s.click("pbCancelEdit");
    QCOMPARE(files(s.folder.file("TABLES_DOC/Clienti_Bianchi")), QStringList());

    // A save the database refuses keeps the page, editing the same record.
    QSqlQuery(QSqlDatabase::database(s.db().connectionName()))
        .exec("CREATE TRIGGER no BEFORE UPDATE ON Clienti BEGIN SELECT RAISE(ABORT, 'no'); END");
    attach();
    s.click("pbSaveNewUser");
    QCOMPARE(s.page(), QString("newUserPage"));
    QVERIFY(!QFile::exists(placed));
    QSqlQuery(QSqlDatabase::database(s.db().connectionName())).exec("DROP TRIGGER no");
    s.click("pbSaveNewUser");
    QCOMPARE(s.db().countRecords("Clienti"), 2);
    QVERIFY(QFile::exists(placed));
    QCOMPARE(files(s.folder.file("TABLES_DOC/Clienti_Bianchi")), QStringList("nuova.png"));

    // Left waiting by a program that stopped: placed if a record points to
    // it, removed if none does.
    QVERIFY(QFile::rename(placed, s.folder.file("TABLES_DOC/Clienti_Bianchi/.tessaro-nuovo-nuova.png")));
    QVERIFY(writeFile(s.folder.file("TABLES_DOC/Clienti_Rossi/.tessaro-nuovo-x.png"), "never saved"));
    s.restart();
    QCOMPARE(files(s.folder.file("TABLES_DOC")), QStringList({"Clienti_Bianchi/nuova.png", "Clienti_Rossi/r.png"}));
}

void CopiesTest::leftFromTheSafetyWork()
{
    Window s([](DbConnection &db) {
        makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma"});
        QSqlQuery q(QSqlDatabase::database(db.connectionName()));
        for (const char *statement :
             {"CREATE TABLE contatti (nome TEXT, telefono TEXT)", "INSERT INTO contatti VALUES ('Anna', '06 1234')",
              "CREATE VIRTUAL TABLE note USING fts5(testo)",
              "CREATE VIEW romani AS SELECT * FROM Citta",
              "CREATE TABLE Registro (RINTEGERFORMAT_Id integer primary key, RSTRINGFORMAT_Voce text)",
              "CREATE TRIGGER ricorda AFTER INSERT ON Registro BEGIN DELETE FROM contatti WHERE 0; END"})
            QVERIFY2(q.exec(statement), statement);
    });
    // A table of another tool shows its values, record by record.
    s.w->changeTable("contatti");
    QCOMPARE(s.items(), QStringList("06 1234"));
    QStringList shown;
    for (const outputDataForm *field : s.w->recordViewWidgets())
        shown << field->findChild<QLineEdit *>("leData")->text();
    QCOMPARE(shown, QStringList({"Anna", "06 1234"}));

    // A table another one needs is not removed on its own, and says why.
    const struct {
        const char *table, *said;
    } refused[] = {
        {"note_data", "ERRORE: La Tabella note_data fa parte dell'indice di ricerca note: si elimina solo con esso!"},
        {"Citta", "ERRORE: La Tabella Citta non si può eliminare: la usa la vista romani!"},
        {"contatti", "ERRORE: La Tabella contatti non si può eliminare: la usa il trigger ricorda della tabella Registro!"},
    };
    for (const auto &table : refused) {
        s.w->changeTable(table.table);
        s.messages.clear();
        s.w->removeTable();
        QCOMPARE(s.messages.said, QStringList("warning: " + QString::fromUtf8(table.said)));
        QVERIFY(s.db().tableExists(table.table));
    }
}

QTEST_MAIN(CopiesTest)
#include "tst_copies.moc"

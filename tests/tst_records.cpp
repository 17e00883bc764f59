// Records in the window: the list (start-up, texts, stepping, searching,
// sorting, links), the record page (what a saved record holds, what refuses a
// save, record folders, lookups, deleting and clearing) and the record view.
#include "dialogs/progressbarform.h"
#include "records/outputdataform.h"
#include "records/recordwriter.h"
#include "testsupport.h"

namespace {

// "selected row, current id, shown text".
QString state(const Window &s)
{
    const QList<int> selected = s.child<RecordListView>("userListWidget")->selectedRows();
    const int row = selected.isEmpty() ? -1 : selected.first();
    return QString("%1 %2 %3").arg(row).arg(s.w->currentId).arg(s.label("lbViewInfo"));
}

// Sees the start-up through the events: whether the main window had been painted
// when the progress dialog came up.
class StartWatch : public QObject
{
public:
    bool windowPainted = false;
    bool paintedBeforeProgress = false;
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (!object->isWidgetType() || event->type() != QEvent::Paint)
            return false;
        QWidget *top = static_cast<QWidget *>(object)->window();
        windowPainted = windowPainted || qobject_cast<Tessaro *>(top);
        paintedBeforeProgress = paintedBeforeProgress || (windowPainted && qobject_cast<progressBarForm *>(top));
        return false;
    }
};

// Texts that collide, lookups (one with the repeat suffix), words to step through.
void lists(DbConnection &db)
{
    QVERIFY(makeTable(db, "Persone", {"RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Note"},
                      {"Anna|prima", "|vuoto", "Bruno|", "Anna|seconda"}));
    QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma", ""}));
    QVERIFY(makeTable(db, "Clienti", {"XCitta_XDTX_RSTRINGFORMAT_Nome", "NSTRINGFORMAT_Cognome"},
                      {"1|Rossi", "2|Bianchi", "0|Verdi", "99|Neri"}));
    QVERIFY(makeTable(db, "Ordini", {"XCitta_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2"}, {"1"}));
    QVERIFY(makeTable(db, "Parole", {"RSTRINGFORMAT_Nome"}, {"gamma", "Alfa", "beta", "ALFABETO"}));
}

void edit(const Window &s, int id)
{
    s.w->currentId = id;
    s.w->updateUser();
}

int add(DbConnection &db, const QString &table, const FieldValueList &fields)
{
    return RecordWriter(db).insert(table, FieldValueList{{"RINTEGERFORMAT_Id", "0"}} + fields);
}

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private slots:
    void startUp()
    {
        // A database without user tables starts quietly, with an empty list.
        Window s;
        QVERIFY(s.items().isEmpty() && s.messages.said.isEmpty());
        // Long enough a load for its progress to show.
        QVERIFY(makeTable(s.db(), "Libri", {"RSTRINGFORMAT_Titolo"}, {"Uno", "Due", "Tre"}));
        run(s.db(), {"WITH RECURSIVE n(i) AS (SELECT 4 UNION ALL SELECT i + 1 FROM n WHERE i < 6000) "
                     "INSERT INTO Libri SELECT i, 'Libro ' || i FROM n"});
        QVERIFY(makeTable(s.db(), "Autori", {"RSTRINGFORMAT_Nome"}));
        StartWatch watch;
        qApp->installEventFilter(&watch);
        s.restart();
        qApp->removeEventFilter(&watch);
        // The window is on screen and painted under the progress of the load, and
        // the first table is listed, its first record shown, when the constructor returns.
        QVERIFY(watch.paintedBeforeProgress);
        QCOMPARE(s.items().mid(0, 4), QStringList({"Uno", "Due", "Tre", "Libro 4"}));
        QCOMPARE(s.items().size(), 6000);
        QCOMPARE(state(s), QString("0 1 Uno"));
        QCOMPARE(s.w->recordViewWidgets().size(), 2);
        QVERIFY(!s.w->findChild<progressBarForm *>()->isVisible());
        s.w->loadList(QString());
        QCOMPARE(s.messages.warnings, QStringList({"Nessuna Tabella Caricata!"}));
    }

    void rowOfARecord_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("state");
        // Rows: mela, (empty), "----", pera and kiwi under one id, mela again.
        QTest::newRow("literal ---- is found on the first ---- item") << 3 << "1 3 ----";
        QTest::newRow("an id with two texts shows its least") << 4 << "4 4 kiwi";
        QTest::newRow("a shared text is found on its first item") << 5 << "0 5 mela";
        QTest::newRow("a record whose text another owns selects the first row") << 1 << "0 1 mela";
    }
    void rowOfARecord()
    {
        QFETCH(int, id);
        Window s({"CREATE TABLE Frutta (RINTEGERFORMAT_Id INTEGER, RSTRINGFORMAT_Nome TEXT)",
                  "INSERT INTO Frutta VALUES (1, 'mela'), (2, ''), (3, '----'), (4, 'pera'), (4, 'kiwi'), (5, 'mela')"});
        QCOMPARE(s.items(), QStringList({"mela", "----", "----", "pera", "kiwi", "mela"}));
        s.w->vwRecord(id);
        QTEST(state(s), "state");
    }

    void textsAndCollisions()
    {
        Window s(lists);
        QCOMPARE(s.items(), QStringList({"Anna", "----", "Bruno", "Anna"}));
        QCOMPARE(s.label("lbToolbar"), QString("4 Records"));
        // The later "Anna" owns the text: either item shows it, and the first one is selected.
        QCOMPARE(state(s), QString("0 4 Anna"));
        s.child<RecordListView>("userListWidget")->setCurrentRow(3);
        QCOMPARE(state(s), QString("0 4 Anna"));
        // An item without text stands for no record.
        s.child<RecordListView>("userListWidget")->setCurrentRow(1);
        QCOMPARE(state(s), QString("1 0 ----"));
        // Looked-up texts, empty or missing ones shown as "----".
        s.w->changeTable("Clienti");
        QCOMPARE(s.items(), QStringList({"Roma", "----", "----", "----"}));
        // A lookup column carrying the repeat suffix reads the column named without it.
        s.w->changeTable("Ordini");
        QCOMPARE(s.items(), QStringList({"Roma"}));

        // A link leads to a record; back returns to the record before the last link
        // only, and leaves the history as it is.
        s.w->goToRequest("Parole", 2);
        QCOMPARE(s.w->currentTable + " " + state(s), QString("Parole 1 2 Alfa"));
        QVERIFY(!s.child("pbReturn")->isHidden());
        s.w->goToRequest("Citta", 1);
        s.click("pbReturn");
        QCOMPARE(s.label("lbListName") + " " + state(s), QString("Parole 1 2 Alfa"));
        QVERIFY(s.child("pbReturn")->isHidden());
        s.w->goBack();
        QCOMPARE(s.w->currentTable, QString("Parole"));
        QCOMPARE(s.messages.warnings, QStringList());
    }

    void stepsSearchAndSortStopAtTheEnds()
    {
        Window s(lists);
        s.w->changeTable("Parole");
        s.w->prevRecord();
        QCOMPARE(state(s), QString("0 1 gamma"));
        s.click("pbNext");
        for (int i = 0; i < 3; ++i)
            s.w->nextRecord();
        QCOMPARE(state(s), QString("3 4 ALFABETO"));
        s.click("pbPrev");
        QCOMPARE(state(s), QString("2 3 beta"));

        // Two characters do nothing; hits ignore case and do not wrap; no hit leaves the selection.
        s.w->userSearch("al");
        QCOMPARE(state(s), QString("2 3 beta"));
        s.w->userSearch("alf");
        s.click("pbUserPrev");
        QCOMPARE(state(s), QString("1 2 Alfa"));
        s.click("pbUserNext");
        s.w->userSearchNext();
        QCOMPARE(state(s), QString("3 4 ALFABETO"));
        s.w->userSearch("zzz");
        s.w->userSearchNext();
        QCOMPARE(state(s), QString("3 4 ALFABETO"));

        // Sorting by character code puts capitals first and keeps the row, not the record.
        auto *sort = s.child<QPushButton>("pbSort");
        sort->setChecked(true);
        QCOMPARE(sort->text() + " " + s.items().join(' '), QString("A-Z ALFABETO Alfa beta gamma"));
        QCOMPARE(state(s), QString("3 1 gamma"));
        sort->setChecked(false);
        QCOMPARE(sort->text() + " " + s.items().join(' '), QString("1-N gamma Alfa beta ALFABETO"));
        QCOMPARE(state(s), QString("3 4 ALFABETO"));
    }

    void foreignDatabase()
    {
        Window s({"CREATE TABLE \"order\" (code INTEGER PRIMARY KEY, name TEXT, qty INTEGER)",
                  "INSERT INTO \"order\" VALUES (7, 'zeta', 1), (3, 'alfa', 2), (9, 'it''s', 3)",
                  // An index on the listed column: the list keeps the order whole-table reads give
                  // (a select of the first two columns alone would walk that index).
                  "CREATE TABLE \"my table\" (RINTEGERFORMAT_Id INTEGER PRIMARY KEY, label TEXT, note TEXT)",
                  "CREATE INDEX byLabel ON \"my table\" (label)",
                  "INSERT INTO \"my table\" VALUES (1, 'mela', 'a'), (2, 'arancia', 'b'), (3, 'banana', 'c')",
                  "CREATE TABLE plain (x TEXT PRIMARY KEY, y TEXT) WITHOUT ROWID"});
        s.w->changeTable("order");
        QCOMPARE(s.items(), QStringList({"alfa", "zeta", "it's"}));
        s.w->nextRecord();
        s.w->nextRecord();
        QCOMPARE(state(s), QString("2 9 it's"));
        s.w->changeTable("my table");
        QCOMPARE(s.items(), QStringList({"mela", "arancia", "banana"}));
        // An empty table without rowid: an empty list and view; stepping and searching do nothing.
        s.w->changeTable("plain");
        QCOMPARE(s.label("lbViewInfo") + " " + s.label("lbToolbar"), QString("---- 0 Records"));
        QVERIFY(s.items().isEmpty() && s.w->recordViewWidgets().isEmpty());
        s.w->userSearch("abc");
        s.w->nextRecord();
    }

    void newEditedAndRenumberedRecord()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "HIDDENTABLE_Soci", {"RSTRINGFORMAT_Nome", "NDATEFORMAT_Nascita", "NINTEGERFORMAT_Eta",
                                                       "NMONEYFORMAT_Saldo", "RBOOLFORMAT_Attivo",
                                                       "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto", "NPDFFORMAT_Scheda",
                                                       "NSUBTABLEFORMAT_Righe", "NLINKFORMAT_Altra"}));
        });
        s.w->changeTable("HIDDENTABLE_Soci");
        s.click("pbNewUser");
        QCOMPARE(hiddenFields(s.w->inputForms), QStringList({"Id", "UserPath", "Foto", "Scheda", "Righe"}));
        s.set("RSTRINGFORMAT_Nome", " Mario  Rossi ");
        s.editor("NINTEGERFORMAT_Eta")->findChild<QSpinBox *>("sbNum")->setValue(42);
        s.set("NMONEYFORMAT_Saldo", "1 234,5");
        s.editor("RBOOLFORMAT_Attivo")->findChild<QCheckBox *>("cbData")->setChecked(true);
        s.click("pbSaveNewUser");
        QString saved = "RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario Rossi;NDATEFORMAT_Nascita=;NINTEGERFORMAT_Eta=42;"
                        "NMONEYFORMAT_Saldo=1234.500000;RBOOLFORMAT_Attivo=TRUE;"
                        "NLONGSTRINGFORMAT_UserPath=TABLES_DOC/HIDDENTABLE_Soci_Mario_Rossi;NIMAGEFORMAT_Foto=;"
                        "NPDFFORMAT_Scheda=;NSUBTABLEFORMAT_Righe=;NLINKFORMAT_Altra=Altra";
        QCOMPARE(s.rows("HIDDENTABLE_Soci"), QStringList(saved));

        // The identifier (first field) is compared ignoring case and extra blanks.
        s.click("pbNewUser");
        s.set("RSTRINGFORMAT_Nome", " mario   ROSSI");
        s.click("pbSaveNewUser");
        QCOMPARE(s.messages.warnings,
                 QStringList("ERRORE: L'identificativo 'mario ROSSI' esiste già nella tabella #Soci.\n"));
        QCOMPARE(s.rows("HIDDENTABLE_Soci"), QStringList(saved));

        // Editing shows the attachments with the record's folder; the subtable
        // editor is never filled, so saving empties that column. A required
        // check box left unchecked is no missing value: it reads FALSE.
        s.db().updateField("HIDDENTABLE_Soci", 1, "NSUBTABLEFORMAT_Righe", "x");
        edit(s, 1);
        QCOMPARE(hiddenFields(s.w->inputForms), QStringList({"Id", "UserPath", "Righe"}));
        QCOMPARE(s.editor("NIMAGEFORMAT_Foto")->userPath(), QString("TABLES_DOC/HIDDENTABLE_Soci_Mario_Rossi"));
        QCOMPARE(s.editor("NPDFFORMAT_Scheda")->dbFolder(), s.folder.path() + "/");
        s.set("RSTRINGFORMAT_Nome", "Luigi");
        s.editor("RBOOLFORMAT_Attivo")->findChild<QCheckBox *>("cbData")->setChecked(false);
        s.click("pbSaveNewUser");
        saved.replace("Nome=Mario Rossi;", "Nome=Luigi;").replace("TRUE", "FALSE");
        QCOMPARE(s.rows("HIDDENTABLE_Soci"), QStringList(saved));

        // In technical mode the Id can be changed, after a question; the other
        // edited values are written either way.
        auto renumber = [&s](int id, int to, const QString &name) {
            edit(s, id);
            s.editor("RINTEGERFORMAT_Id")->findChild<QSpinBox *>("sbNum")->setValue(to);
            s.set("RSTRINGFORMAT_Nome", name);
            s.w->newRecord();
        };
        s.w->techMode = true;
        edit(s, 1);
        QCOMPARE(hiddenFields(s.w->inputForms), QStringList("Righe"));
        renumber(1, 9, "Anna");
        QCOMPARE(s.messages.questions.size(), 1);
        QCOMPARE(s.rows("HIDDENTABLE_Soci"), QStringList(saved.replace("Id=1;", "Id=9;").replace("Luigi;", "Anna;")));
        s.messages.answers << false;
        renumber(9, 4, "Anna'");
        QCOMPARE(s.rows("HIDDENTABLE_Soci"), QStringList(saved.replace("Anna;", "Anna';")));
        // Outside technical mode a changed id is ignored without a question.
        s.w->techMode = false;
        renumber(9, 3, "Anna'");
        QCOMPARE(s.messages.said.size(), 3); // the duplicate, the two questions, nothing else
        QCOMPARE(s.rows("HIDDENTABLE_Soci"), QStringList(saved));
    }

    void userPathAndLookupIdentifiers()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "NLONGSTRINGFORMAT_UserPath", "NINTEGERFORMAT_Eta"}));
            QCOMPARE(add(db, "Clienti", {{"RSTRINGFORMAT_Nome", "Mario Rossi"}, {"NLONGSTRINGFORMAT_UserPath", ""}}), 1);
            QCOMPARE(add(db, "Clienti", {{"RSTRINGFORMAT_Nome", "Dr. O''Neil?"}, {"NLONGSTRINGFORMAT_UserPath", ""}}), 2);
            QVERIFY(makeTable(db, "Ordini", {"XClienti_XDTX_RSTRINGFORMAT_Nome", "XClienti_XDTX_RSTRINGFORMAT_Nome",
                                             "NLONGSTRINGFORMAT_UserPath", "XClienti_XDTX_NINTEGERFORMAT_Eta"}));
        });
        // A plain identifier is cleaned into the folder name.
        QCOMPARE(s.db().getRecordById("Clienti", 2).value("NLONGSTRINGFORMAT_UserPath").toString(),
                 QString("TABLES_DOC/Clienti_Dr_ONeil"));

        // A lookup lists the other table's records; the repeated one is suffixed.
        s.w->changeTable("Ordini");
        s.w->changeToNewUserPage();
        inputDataForm *first = s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome");
        QCOMPARE(first->comboItems(), QStringList({"---", "1 Mario Rossi", "2 Dr. O'Neil?"}));
        QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2")->comboItems(), first->comboItems());
        first->setComboIndex(1);
        s.w->newRecord();
        // A lookup names the folder after the referenced value, blanks kept; no choice stores nothing.
        const QSqlRecord order = s.db().getRecordById("Ordini", 1);
        QCOMPARE(order.value("NLONGSTRINGFORMAT_UserPath").toString(), QString("TABLES_DOC/Ordini_Mario Rossi"));
        QCOMPARE(order.value("XClienti_XDTX_RSTRINGFORMAT_Nome").toString() + "|"
                     + order.value("XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2").toString(), QString("1|"));
        QCOMPARE(order.value("XClienti_XDTX_NINTEGERFORMAT_Eta").toString(), QString());
        edit(s, 1);
        QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome")->comboText(), QString("1 Mario Rossi"));
    }

    void deleteAndClear()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome"}, {"Mario", "Anna"}));
            QVERIFY(makeTable(db, "Fornitori", {"RSTRINGFORMAT_Nome"}, {"Acme"}));
        });
        s.messages.fileAnswers << QString();
        s.w->changeTableIcon(); // a settings row
        s.w->currentId = 1;
        s.w->deleteUser();
        QCOMPARE(s.rows("Clienti"), QStringList("RINTEGERFORMAT_Id=2;RSTRINGFORMAT_Nome=Anna"));
        // The first listed record becomes current and is shown.
        QCOMPARE(s.w->currentId, 2);
        QCOMPARE(s.label("lbViewInfo"), QString("Anna"));
        s.child<QAction>("actionClear_Selected_List")->trigger();
        QVERIFY(s.db().countRecords("Clienti") == 0 && s.db().countRecords("Fornitori") == 1);
        s.child<QAction>("actionClear_All_Tables")->trigger();
        // The program's own tables keep their rows.
        QVERIFY(s.db().countRecords("Fornitori") == 0 && s.db().countRecords("settings") == 1);
        QCOMPARE(s.messages.questions, QStringList({"Eliminare questo elemento?", "Eliminare tutti gli elementi di Clienti?",
                                                    "Eliminare tutti gli elementi in tutto il database?"}));
    }

    void recordInTheView()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Persone",
                              {"NSTRINGFORMAT_Data_di_nascita_XMLTYX_2", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto",
                               "NSUBTABLEFORMAT_Righe__mese", "NLINKFORMAT_Clienti", "XCitta_XDTX_RSTRINGFORMAT_Nome"},
                              {"Anna|TABLES_DOC/Persone_Anna|TABLES_DOC/Persone_Anna/foto.png|cfg 1|x|2"}));
            QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"", "Roma"}));
            // The subtable's configuration is named after the table and its column.
            QVERIFY(makeTable(db, "subtablesconfigs",
                              {"RSTRINGFORMAT_subConfigName", "NSTRINGFORMAT_subConfigFieldName",
                               "NSTRINGFORMAT_subConfigFieldType"},
                              {"Persone_Righe__mese_XSBCONFX_cfg_1||"}));
            QDir().mkpath("TABLES_DOC/Persone_Anna");
            QImage(50, 80, QImage::Format_RGB32).save("TABLES_DOC/Persone_Anna/foto.png");
        });
        // Titles without the repeat marker and with blanks for "_"; Id and UserPath are shown in
        // advanced mode only; every display knows the shown record.
        auto visibleTitles = [&s] {
            QStringList titles;
            for (outputDataForm *widget : s.w->recordViewWidgets()) {
                if (!widget->isHidden())
                    titles << widget->title() + (widget->searchRecordId() == 1 ? "" : " (wrong record)");
            }
            return titles;
        };
        QCOMPARE(visibleTitles(), QStringList({"Data di nascita2", "Foto", "Righe  mese", "Clienti", "Citta Nome"}));
        // Showing an id that is gone: the link write-back says so.
        s.w->vwRecord(99);
        QCOMPARE(s.messages.warnings, QStringList({"L'Id 99 non è valido!"}));
        s.w->techMode = true;
        s.w->vwRecord(1);
        QCOMPARE(visibleTitles().size(), 7);
        const QList<outputDataForm *> view = s.w->recordViewWidgets();
        // The image under the database folder; the subtable of this table, its blanks made single
        // and then "_"; the link written back.
        QVERIFY(!view.at(3)->findChild<QLabel *>("lbImage")->pixmap()->isNull());
        QCOMPARE(view.at(4)->subTableName(), QString("HIDDENTABLE_Persone_XSBTX_SUBTABLEFORMAT_Righe_mese_XSBTUSRX_cfg_1"));
        QCOMPARE(s.db().getRecordById("Persone", 1).value("NLINKFORMAT_Clienti").toString(), QString("Clienti"));
        QCOMPARE(view.at(5)->searchTable(), QString("Clienti"));
        // The lookup shows the referenced value and leads to its record.
        QCOMPARE(view.at(6)->findChild<QLineEdit *>("leData")->text(), QString("Roma"));
        view.at(6)->findChild<QPushButton *>("pbXView")->click();
        QCOMPARE(s.w->currentTable + " " + QString::number(s.w->currentId), QString("Citta 2"));
        QCOMPARE(s.messages.warnings.size(), 1);
    }

    // Stepping to another record of the table shows just what showing it
    // afresh shows: nothing of the record before stays behind.
    void steppedViewEqualsAFreshOne()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Persone",
                              {"RSTRINGFORMAT_Nome", "NBOOLFORMAT_Attivo", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto",
                               "NMAILFORMAT_Posta", "XCitta_XDTX_RSTRINGFORMAT_Nome"},
                              {"Anna|TRUE|TABLES_DOC/Persone_Anna|TABLES_DOC/Persone_Anna/foto.png|a@b.it|1",
                               "Bruno|FALSE||||7"}));
            QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Roma"}));
            QDir().mkpath("TABLES_DOC/Persone_Anna");
            QImage(50, 80, QImage::Format_RGB32).save("TABLES_DOC/Persone_Anna/foto.png");
        });
        auto view = [&s] {
            QStringList shown;
            for (outputDataForm *field : s.w->recordViewWidgets()) {
                shown << QString::number(field->searchRecordId());
                for (QWidget *part : field->findChildren<QWidget *>()) {
                    QString state = part->objectName() + (part->isHidden() ? " hidden" : "");
                    if (auto *edit = qobject_cast<QLineEdit *>(part))
                        state += " " + edit->text() + " " + edit->toolTip();
                    if (auto *box = qobject_cast<QCheckBox *>(part))
                        state += box->isChecked() ? " checked" : "";
                    if (auto *label = qobject_cast<QLabel *>(part))
                        state += " " + label->text() + (label->pixmap() && !label->pixmap()->isNull() ? " picture" : "");
                    shown << state;
                }
            }
            return shown;
        };
        s.w->changeTable("Persone");
        for (int id : {2, 1, 2}) {
            s.w->vwRecord(id);
            const QStringList stepped = view();
            s.w->changeTable("Citta");
            s.w->changeTable("Persone");
            s.w->vwRecord(id);
            QCOMPARE(stepped, view());
        }
    }
};

QTEST_MAIN(TestRecords)
#include "tst_records.moc"

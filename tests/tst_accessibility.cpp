// Screen readers: every control of every page has a name, a field's editor is
// named and labelled by its title and says when it is required, the record
// list tells its count and the status bar's messages are read out.
#include "app/tessaro.h"
#include "app/recordlistview.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QAccessible>
#include <QtTest>
#include <QtWidgets>

namespace {

// One table of every kind of field, and the table it looks up.
void shop(DbConnection &db)
{
    makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"Milano"});
    makeTable(db, "Clienti",
              {"RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo", "NBOOLFORMAT_Attivo",
               "NDATEFORMAT_Nascita", "NINTEGERFORMAT_Figli", "NREALFORMAT_Peso", "NMAILFORMAT_Posta",
               "NURLFORMAT_Sito", "NLINKFORMAT_Citta", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto",
               "NPDFFORMAT_Scheda"},
              {"Rossi|1|8.250000|TRUE|01/02/1970|2|70.5|r@esempio.it|https://esempio.it|Citta|||",
               "Bianchi|1|3.000000|FALSE||0|0|||Citta|||"});
}

// What a screen reader calls a control: its accessible name, a button's or a
// label's own text, or the text of the label that is its buddy.
QString nameOf(QWidget *control)
{
    if (!control->accessibleName().isEmpty())
        return control->accessibleName();
    if (auto *button = qobject_cast<QAbstractButton *>(control))
        return button->text().remove('&');
    if (auto *label = qobject_cast<QLabel *>(control))
        return label->text();
    for (QLabel *label : control->window()->findChildren<QLabel *>()) {
        if (label->buddy() == control)
            return label->text();
    }
    return QString();
}

// The controls under root that Tab stops at and that have no name.
QStringList unnamed(QWidget *root)
{
    QStringList missing;
    QList<QWidget *> controls = root->findChildren<QWidget *>();
    controls.prepend(root);
    for (QWidget *control : controls) {
        QWidget *parent = control->parentWidget();
        if (!(control->focusPolicy() & Qt::TabFocus) || control->focusProxy()
            || qobject_cast<QAbstractSpinBox *>(parent) || qobject_cast<QComboBox *>(parent)
            || control->window()->windowType() == Qt::Popup)
            continue; // the parts of a box, and its drop-down list, are named by their box
        if (nameOf(control).isEmpty())
            missing << QString("%1/%2 (%3)").arg(parent ? parent->objectName() : QString(), control->objectName(),
                                                   control->metaObject()->className());
    }
    return missing;
}

// What a screen reader reads of a control.
QString said(QWidget *control, QAccessible::Text text)
{
    return QAccessible::queryAccessibleInterface(control)->text(text);
}

} // namespace

class AccessibilityTest : public QObject
{
    Q_OBJECT

private slots:
    void everyControlOfEveryPageIsNamed();
    void editorsAreNamedByTheirTitles();
    void countAndMessagesAreAnnounced();
};

void AccessibilityTest::everyControlOfEveryPageIsNamed()
{
    Window s(shop);
    s.w->changeTable("Clienti");
    QStringList missing = unnamed(s.w.get()); // the table list and the record view
    s.click("pbEditUser");
    s.editor("NIMAGEFORMAT_Foto")->findChild<QPushButton *>("pbViewImage")->click();
    missing += unnamed(s.w.get()); // the record page, with an image's dialog
    s.editor("NIMAGEFORMAT_Foto")->findChild<QDialog *>()->reject();
    s.click("pbCancelEdit");
    for (const char *page : {"pbFilter", "pbCalc"}) {
        s.click(page);
        missing += unnamed(s.w.get());
        s.w->changeToUsersPage();
    }
    s.w->newTable();
    s.w->addNewTableElement();
    s.w->about();
    missing += unnamed(s.w.get()); // the designer with its rows, the About box
    s.w->cancelNewTable();
    QTimer::singleShot(0, [&missing] {
        missing += unnamed(QApplication::activeModalWidget());
        QApplication::activeModalWidget()->close();
    });
    s.w->print();
    missing.removeDuplicates();
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(", ")));
}

void AccessibilityTest::editorsAreNamedByTheirTitles()
{
    Window s(shop);
    s.w->changeTable("Clienti");
    s.click("pbEditUser");
    QWidget *name = s.input(s.editor("RSTRINGFORMAT_Nome"));
    QAccessibleInterface *face = QAccessible::queryAccessibleInterface(name);
    // "Nome, campo di testo, obbligatorio"
    QCOMPARE(face->text(QAccessible::Name), QString("Nome"));
    QCOMPARE(face->role(), QAccessible::EditableText);
    QCOMPARE(face->text(QAccessible::Description), QString("obbligatorio"));
    const auto labels = face->relations(QAccessible::Label);
    QVERIFY(!labels.isEmpty() && labels.first().first->text(QAccessible::Name) == "Nome");
    for (const QString &column : {"NMONEYFORMAT_Saldo", "NDATEFORMAT_Nascita", "NINTEGERFORMAT_Figli"}) {
        face = QAccessible::queryAccessibleInterface(s.input(s.editor(column)));
        QCOMPARE(face->text(QAccessible::Name), s.editor(column)->titleText());
        QVERIFY(!face->text(QAccessible::Description).contains("obbligatorio"));
    }
}

// Each change is told to the screen reader as a change of these texts.
void AccessibilityTest::countAndMessagesAreAnnounced()
{
    Window s(shop);
    auto *list = s.child<RecordListView>("userListWidget");
    s.w->changeTable("Clienti");
    QCOMPARE(said(list, QAccessible::Description), QString("2 Record"));
    s.click("pbFilter");
    s.type(s.filterEditor("RSTRINGFORMAT_Nome"), "Rossi");
    s.click("pbSaveFilters");
    QCOMPARE(said(list, QAccessible::Description), QString("1 Record"));
    s.w->exportingListPdf(s.folder.file("clienti.pdf"), {"RSTRINGFORMAT_Nome"});
    QCOMPARE(said(s.w->statusBar(), QAccessible::Name), "PDF salvato: " + s.folder.file("clienti.pdf"));
}

QTEST_MAIN(AccessibilityTest)
#include "tst_accessibility.moc"

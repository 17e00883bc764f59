#ifndef OUTPUTDATAFORM_H
#define OUTPUTDATAFORM_H

#include <QVariant>
#include <QWidget>

namespace Ui {
class outputDataForm;
}

// Read-only display of one field of the shown record: its title and its
// value, shown by type, with a button where the value leads somewhere (an
// image or PDF to open, a mail to write, a record of another table, a
// subtable, a search in another table). It only displays and emits; the main
// window builds one per column and acts on its signals.
class outputDataForm : public QWidget
{
    Q_OBJECT

public:
    explicit outputDataForm(QWidget *parent = nullptr);
    ~outputDataForm() override;

    void setTitle(bool show, const QString &name);
    void setText(bool show, const QString &text);
    void setCheck(bool show, bool checked, const QString &text);
    void setWebLink(bool show, const QString &url);
    void setImage(bool show, const QString &relativePath);
    // Shows value the way the type tag (STRINGFORMAT, MONEYFORMAT, ...) asks.
    void setData(const QString &typeTag, const QVariant &value);

    // Folder of the database file, with a trailing "/": stored paths are relative to it.
    void setDocumentsBase(const QString &base) { documentsBase = base; }
    // The record pbXView leads to; shows pbXView.
    void setReferenceTarget(const QString &table, int id);
    // What pbLink searches: a table and the shown record's id.
    void setSearchTarget(const QString &table, int id);
    void setSearchId(int id) { searchId = id; }
    // Owner table and configuration of the subtable pbSubTable opens.
    void setSubTableParts(const QString &owner, const QString &configuration);

    QString title() const { return titleText; }
    QString imagePath() const { return imageFile; }
    QString pdfPath() const { return pdfFile; }
    QString referenceTable() const { return xTable; }
    int referenceId() const { return xId; }
    QString searchTable() const { return searchText; }
    int searchRecordId() const { return searchId; }
    QString subTableName() const;

signals:
    void goToList(QString table, int id);
    void goToSubList(QString table);
    void goToFilter(QString table, int id);

public slots:
    void viewImageBox();
    void viewPdf();
    void goToX();
    void sendMail();
    void callSubTable();
    void callLink();
    void linkActivated(const QString &link);

private:
    Ui::outputDataForm *ui;
    QString documentsBase;
    QString imageFile;
    QString pdfFile;
    QString xTable;
    int xId = 0;
    QString searchText;
    int searchId = 0;
    QString subTableOwner;
    QString subTableConfiguration;
    QString titleText;
};

#endif // OUTPUTDATAFORM_H

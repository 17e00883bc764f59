#ifndef CSVIMPORTFORM_H
#define CSVIMPORTFORM_H

#include <QDialog>
#include <QStringList>
#include <functional>

namespace Ui {
class CsvImportForm;
}

// The preview of a spreadsheet's CSV file before it is imported: its
// separator and encoding (as found, or as the user chooses them), its first
// rows, and for each of its columns the field it fills in the current table
// (or none), or the name and type of the field it becomes in a new table.
// Values that would not read are marked. The import itself is the owner's:
// it is asked for with importRequested(), and its problems shown here.
class CsvImportForm : public QDialog
{
    Q_OBJECT

public:
    static constexpr int PreviewRows = 20;

    explicit CsvImportForm(QWidget *parent = nullptr);
    ~CsvImportForm() override;

    // The file: its name, its number of rows, its separator (';', ',', '\t')
    // and its encoding (a CsvReader::Encoding).
    void setFile(const QString &name, int rows, char separator, int encoding);
    // Its header and first rows; the choices below are made afresh.
    void setPreview(const QStringList &header, const QList<QStringList> &rows);
    // The table the records can go into (an empty display: none), its fields
    // (full names and their titles), and the field each file column fills.
    void setTable(const QString &display, const QStringList &columns, const QStringList &titles,
                  const QStringList &mapping);
    // Whether the records go into a new table (always, when there is no table).
    void setNewTableMode(bool on);
    // A new table: its proposed name, and a name and type tag per file column.
    void setNewTable(const QString &name, const QStringList &fieldNames, const QStringList &tags);
    // What a value of a file column is when read into a column: the problem,
    // or empty.
    void setChecker(const std::function<QString(int, const QString &, const QString &)> &check);
    // The problems of the import asked for; the good rows can then be asked for.
    void showProblems(const QString &summary, const QStringList &problems);

    char separator() const;
    int encoding() const;
    bool isNewTable() const;
    QString newTableName() const;
    // Per file column: the field it fills (full name), or empty.
    QStringList mapping() const;
    // Per file column: the new field's name (empty: left out) and type tag.
    QStringList newFieldNames() const;
    QStringList newFieldTags() const;

signals:
    // The user chose another separator or encoding.
    void formatChanged();
    void importRequested(bool goodRows);

private:
    void chooseMode();
    void markProblems();
    void clearProblems();

    Ui::CsvImportForm *ui;
    std::function<QString(int, const QString &, const QString &)> checker;
    int columnCount = 0;
    bool filling = false;
};

#endif // CSVIMPORTFORM_H

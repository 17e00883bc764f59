#include "dialogs/csvimportform.h"
#include "ui_csvimportform.h"

#include "app/accessibility.h"

#include "storage/namingscheme.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>

namespace {
// The rows above the file's: the field each column fills, or the name and
// type of its new field.
enum { FieldRow, NameRow, TypeRow, FirstDataRow };
const char *const Separators = ";,\t";
} // namespace

CsvImportForm::CsvImportForm(QWidget *parent) : QDialog(parent), ui(new Ui::CsvImportForm)
{
    ui->setupUi(this);
    Accessibility::nameControls(this);
    ui->cbSeparator->addItems({";", ",", "Tab"});
    ui->cbEncoding->addItems({"UTF-8", "UTF-8 con BOM", "Windows-1252", "UTF-16"});
    ui->twPreview->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->pbGoodRows->hide();
    clearProblems();
    connect(ui->cbSeparator, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this] {
        if (!filling)
            emit formatChanged();
    });
    connect(ui->cbEncoding, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this] {
        if (!filling)
            emit formatChanged();
    });
    connect(ui->rbExistingTable, &QRadioButton::toggled, this, &CsvImportForm::chooseMode);
    connect(ui->pbImport, &QPushButton::clicked, this, [this] { emit importRequested(false); });
    connect(ui->pbGoodRows, &QPushButton::clicked, this, [this] { emit importRequested(true); });
    connect(ui->pbCancel, &QPushButton::clicked, this, &CsvImportForm::reject);
}

CsvImportForm::~CsvImportForm()
{
    delete ui;
}

void CsvImportForm::setFile(const QString &name, int rows, char separator, int encoding)
{
    filling = true;
    ui->lbFile->setText(QString::fromUtf8("File: %1 (%2 righe)").arg(name).arg(rows));
    ui->cbSeparator->setCurrentIndex(qMax(0, QByteArray(Separators).indexOf(separator)));
    ui->cbEncoding->setCurrentIndex(encoding);
    filling = false;
}

void CsvImportForm::setPreview(const QStringList &header, const QList<QStringList> &rows)
{
    clearProblems();
    QTableWidget *table = ui->twPreview;
    table->clear();
    columnCount = header.size();
    table->setColumnCount(columnCount);
    table->setRowCount(FirstDataRow + rows.size());
    table->setHorizontalHeaderLabels(header);
    QStringList rowLabels = {"Campo", "Nome", "Tipo"};
    for (int r = 0; r < rows.size(); ++r)
        rowLabels << QString::number(r + 1);
    table->setVerticalHeaderLabels(rowLabels);
    for (int r = 0; r < rows.size(); ++r) {
        for (int j = 0; j < columnCount; ++j)
            table->setItem(FirstDataRow + r, j, new QTableWidgetItem(rows.at(r).value(j)));
    }
    for (int j = 0; j < columnCount; ++j) {
        auto *field = new QComboBox(table);
        auto *name = new QLineEdit(table);
        auto *type = new QComboBox(table);
        field->setSizeAdjustPolicy(QComboBox::AdjustToContents);
        for (const QString &tag : designerTypeTags()) {
            if (tag != Naming::LinkTag && tag != Naming::SubtableTag)
                type->addItem(typeStem(tag), tag);
        }
        table->setCellWidget(FieldRow, j, field);
        table->setCellWidget(NameRow, j, name);
        table->setCellWidget(TypeRow, j, type);
        connect(field, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &CsvImportForm::markProblems);
        connect(type, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &CsvImportForm::markProblems);
        connect(name, &QLineEdit::textChanged, this, &CsvImportForm::markProblems);
    }
}

void CsvImportForm::setTable(const QString &display, const QStringList &columns, const QStringList &titles,
                             const QStringList &mapping)
{
    filling = true;
    ui->rbExistingTable->setText(QString("Nella tabella %1").arg(display));
    ui->rbExistingTable->setEnabled(!display.isEmpty());
    for (int j = 0; j < columnCount; ++j) {
        auto *field = static_cast<QComboBox *>(ui->twPreview->cellWidget(FieldRow, j));
        field->clear();
        field->addItem("(non importare)", QString());
        for (int i = 0; i < columns.size(); ++i)
            field->addItem(titles.value(i), columns.at(i));
        field->setCurrentIndex(qMax(0, field->findData(mapping.value(j))));
    }
    filling = false;
    chooseMode();
}

void CsvImportForm::setNewTableMode(bool on)
{
    const bool newTable = on || !ui->rbExistingTable->isEnabled();
    ui->rbNewTable->setChecked(newTable);
    ui->rbExistingTable->setChecked(!newTable);
    chooseMode();
}

void CsvImportForm::setNewTable(const QString &name, const QStringList &fieldNames, const QStringList &tags)
{
    filling = true;
    ui->leNewTableName->setText(name);
    for (int j = 0; j < columnCount; ++j) {
        static_cast<QLineEdit *>(ui->twPreview->cellWidget(NameRow, j))->setText(fieldNames.value(j));
        auto *type = static_cast<QComboBox *>(ui->twPreview->cellWidget(TypeRow, j));
        type->setCurrentIndex(qMax(0, type->findData(tags.value(j))));
    }
    filling = false;
    markProblems();
}

void CsvImportForm::setChecker(const std::function<QString(int, const QString &, const QString &)> &check)
{
    checker = check;
}

void CsvImportForm::chooseMode()
{
    const bool newTable = isNewTable();
    ui->twPreview->setRowHidden(FieldRow, newTable);
    ui->twPreview->setRowHidden(NameRow, !newTable);
    ui->twPreview->setRowHidden(TypeRow, !newTable);
    ui->leNewTableName->setEnabled(newTable);
    clearProblems();
    markProblems();
    ui->twPreview->resizeColumnsToContents();
}

// The values of the preview that would not read are shown in red, the
// reason in their tool tip.
void CsvImportForm::markProblems()
{
    if (filling)
        return;
    QTableWidget *table = ui->twPreview;
    const QStringList fields = isNewTable() ? QStringList() : mapping();
    const QStringList tags = newFieldTags();
    for (int j = 0; j < columnCount; ++j) {
        const QString column = isNewTable() ? "N" + tags.value(j) + "_" : fields.value(j);
        for (int r = FirstDataRow; r < table->rowCount(); ++r) {
            QTableWidgetItem *item = table->item(r, j);
            const QString problem =
                column.isEmpty() || !checker || !item ? QString() : checker(j, column, item->text());
            if (!item)
                continue;
            item->setBackground(problem.isEmpty() ? QBrush() : QBrush(QColor(255, 205, 205)));
            item->setToolTip(problem);
        }
    }
}

void CsvImportForm::showProblems(const QString &summary, const QStringList &problems)
{
    ui->lbProblems->setText(summary);
    ui->lbProblems->show();
    ui->ptProblems->setPlainText(problems.join("\n"));
    ui->ptProblems->show();
    ui->pbGoodRows->show();
}

void CsvImportForm::clearProblems()
{
    ui->lbProblems->hide();
    ui->ptProblems->hide();
    ui->ptProblems->clear();
    ui->pbGoodRows->hide();
}

char CsvImportForm::separator() const
{
    return Separators[qBound(0, ui->cbSeparator->currentIndex(), 2)];
}

int CsvImportForm::encoding() const
{
    return ui->cbEncoding->currentIndex();
}

bool CsvImportForm::isNewTable() const
{
    return ui->rbNewTable->isChecked();
}

QString CsvImportForm::newTableName() const
{
    return ui->leNewTableName->text().trimmed();
}

QStringList CsvImportForm::mapping() const
{
    QStringList fields;
    for (int j = 0; j < columnCount; ++j)
        fields << static_cast<QComboBox *>(ui->twPreview->cellWidget(FieldRow, j))->currentData().toString();
    return fields;
}

QStringList CsvImportForm::newFieldNames() const
{
    QStringList names;
    for (int j = 0; j < columnCount; ++j)
        names << static_cast<QLineEdit *>(ui->twPreview->cellWidget(NameRow, j))->text().trimmed();
    return names;
}

QStringList CsvImportForm::newFieldTags() const
{
    QStringList tags;
    for (int j = 0; j < columnCount; ++j)
        tags << static_cast<QComboBox *>(ui->twPreview->cellWidget(TypeRow, j))->currentData().toString();
    return tags;
}

// The calculator page: one row per numeric column of the current table and
// the signed sum of the chosen rows over all its records.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "calc/calcform.h"
#include "calc/columnsums.h"
#include "dialogs/messagehandler.h"
#include "storage/columnname.h"

void Tessaro::changeToCalcPage()
{
    qDeleteAll(calcRows);
    calcRows.clear();
    ui->leCalcResult->setText("0");
    ui->stPages->setCurrentWidget(ui->calcPage);
    if (currentTable.isEmpty()) {
        MessageHandler::current()->warning("Nessuna Tabella Caricata!");
        return;
    }

    // The rows follow the table's column order.
    for (const QString &column : db->getFieldNames(currentTable)) {
        if (!isSummedColumn(column))
            continue;
        auto *row = new calcForm(ui->calcContents);
        row->setName(column);
        row->setType(ColumnName(column).typeTag());
        ui->calcLayout->addWidget(row);
        calcRows.append(row);
    }
    calcResult();
}

void Tessaro::calcResult()
{
    QVector<SumRow> rows;
    rows.reserve(calcRows.size());
    for (calcForm *row : qAsConst(calcRows)) {
        row->reset();
        rows.append({row->name(), row->isMoney(), row->sign()});
    }
    const SumResult sums = sumColumns(*db, currentTable, rows);
    for (int i = 0; i < calcRows.size(); ++i)
        calcRows.at(i)->setResultText(sums.rowTexts.at(i));
    ui->leCalcResult->setText(sums.totalText);
}

#include "exchange/exportfile.h"

#include "exchange/readableexport.h"
#include "exchange/structurefile.h"

#include <QSaveFile>

QString writeExportFile(DbConnection &db, const QString &path, const QString &table, ExportKind kind, int id,
                        const ExchangeProgress &progress)
{
    const QString cannotWrite = kind == ExportKind::Structure
                                    ? QString::fromUtf8("ERRORE: Impossibile esportare la Struttura Tabella!")
                                    : QString::fromUtf8("ERRORE: Impossibile scrivere sul file!");
    QSaveFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::WriteOnly | QIODevice::Text))
        return cannotWrite;
    switch (kind) {
    case ExportKind::Records:
        writeTableRecords(db, file, table, progress);
        break;
    case ExportKind::RecordOfTable:
        writeSingleRecord(db, file, table, id, progress);
        break;
    case ExportKind::Structure:
        writeStructure(db, file, table, db.getFieldNames(table));
        break;
    case ExportKind::Text:
        writeReadableTable(db, file, table, progress);
        break;
    case ExportKind::TextOfRecord:
        writeReadableRecord(db, file, table, id, progress);
        break;
    }
    return file.commit() ? QString() : cannotWrite;
}

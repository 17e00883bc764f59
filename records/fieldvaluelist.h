#ifndef FIELDVALUELIST_H
#define FIELDVALUELIST_H

#include <QList>
#include <QPair>
#include <QString>

// One record on its way to the database: (full column name, value text)
// pairs in page order, the RINTEGERFORMAT_Id pair first.
using FieldValue = QPair<QString, QString>;
using FieldValueList = QList<FieldValue>;

#endif // FIELDVALUELIST_H

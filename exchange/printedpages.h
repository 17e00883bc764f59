#ifndef PRINTEDPAGES_H
#define PRINTEDPAGES_H

#include "exchange/printcontent.h"

#include <QDate>
#include <QIcon>
#include <QPageLayout>
#include <QString>
#include <functional>

class DbConnection;
class QPagedPaintDevice;

// What stands at the top of every printed page: the table's icon and name,
// a line under it (the filter of a list, the text of a record) and the date
// in Italian. Every page ends with "Pagina N di M".
struct PageHeading {
    QIcon icon;
    QString title;
    QString subtitle;
    QDate date = QDate::currentDate();
};

// Paints a list as a table on the pages of device (a printer, a PDF): one
// column per field, the column titles again on every page, a row never split
// across two pages. Answers the number of pages; pageDone(n, pages) follows
// the painting.
int paintList(QPagedPaintDevice &device, const PrintedList &list, const PageHeading &heading,
              const std::function<void(int, int)> &pageDone = {});
// Paints a record as its view reads: each field's title beside its value, an
// image scaled to fit under its file name; a field never split across pages.
int paintRecord(QPagedPaintDevice &device, const PrintedRecord &record, const PageHeading &heading);

// Writes a PDF on the page layout given, painted by paint, whole or not at
// all: until it is complete a file already at path stays as it was, and one
// that cannot be written leaves nothing behind. paint answers the number of
// pages it painted (none when it failed). Answers the message to tell on
// failure; empty when done.
QString writePdf(const QString &path, const QPageLayout &layout, const QString &title,
                 const std::function<int(QPagedPaintDevice &)> &paint);

// The line under a list's title: its number of records, and its filter
// in words when it has one.
QString listSubtitle(int records, const QString &filter);

// A table's icon as the table list shows it: its own picture from the
// settings table, or the built-in one. folder: the database's, with "/".
QIcon tableIconOf(DbConnection &db, const QString &folder, const QString &table);

// The list of a whole table as a PDF (the command line's export-pdf): every
// printable field, every record in the table's order.
QString writeTablePdf(DbConnection &db, const QString &folder, const QString &table, const QString &path);

// The page setup, remembered from one print to the next in "pageSetup.dat"
// in the folder the program is started from: A4 upright until changed.
QPageLayout rememberedPageLayout();
bool rememberPageLayout(const QPageLayout &layout);

#endif // PRINTEDPAGES_H

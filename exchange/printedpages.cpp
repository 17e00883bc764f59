#include "exchange/printedpages.h"

#include "app/resources.h"
#include "storage/dbconnection.h"
#include "storage/namingscheme.h"

#include <QFile>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImageReader>
#include <QLocale>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <QSqlRecord>
#include <QTextLayout>
#include <QTextStream>
#include <algorithm>
#include <numeric>
#include <cmath>

namespace {

const char *const PageSetupFile = "pageSetup.dat";
const char *const CannotWrite = "ERRORE: Impossibile scrivere sul file!";

// Sizes on paper, in points, and the greys of the page.
constexpr qreal TitlePoints = 15, TextPoints = 9, SmallPoints = 8;
const QColor Ink(0x20, 0x20, 0x20), Muted(0x55, 0x55, 0x55), Rule(0xb0, 0xb0, 0xb0), Band(0xf1, 0xf1, 0xf1),
    HeadBand(0xdd, 0xdd, 0xdd);
// Pictures go on paper at this resolution at most: a photograph of many
// megapixels does not make the PDF that large.
constexpr qreal PictureDpi = 200;

// A font on the device it paints on, with the measures the layout needs.
struct Face {
    QFont font;
    qreal height = 0, ascent = 0;
};

// The page a painter works on: its size in device units, millimetres turned
// into those units, the fonts measured on the device itself.
class Sheet
{
public:
    explicit Sheet(QPagedPaintDevice &device)
        : device(device), dpi(device.logicalDpiY()), width(device.width()), height(device.height()),
          text(face(TextPoints, false)), bold(face(TextPoints, true)), small(face(SmallPoints, false)),
          title(face(TitlePoints, true))
    {
    }
    qreal mm(qreal value) const { return value * dpi / 25.4; }
    qreal advance(const Face &face, const QString &text) const
    {
        return QFontMetricsF(face.font, &device).horizontalAdvance(text);
    }

    QPagedPaintDevice &device;
    qreal dpi;
    qreal width, height;
    Face text, bold, small, title;

private:
    Face face(qreal points, bool isBold) const
    {
        Face f;
        f.font = QFont(QGuiApplication::font(), &device);
        f.font.setPointSizeF(points);
        f.font.setBold(isBold);
        const QFontMetricsF metrics(f.font, &device);
        f.height = metrics.height();
        f.ascent = metrics.ascent();
        return f;
    }
};

// A text as it is laid out in a given width: on one line when it fits, else
// broken between words (or anywhere inside a word longer than the width).
// One line is drawn in the painter's font, which the caller sets.
class WrappedText
{
public:
    WrappedText(const Sheet &sheet, const QString &text, const Face &face, qreal width, qreal advance = -1)
        : content(text), face(face)
    {
        if (advance < 0)
            advance = QFontMetricsF(face.font, &sheet.device).horizontalAdvance(text);
        oneLine = advance <= width && !text.contains('\n') && !text.contains('\r');
        if (oneLine)
            height = face.height;
        else
            layOut(sheet, width);
    }
    void draw(QPainter &painter, const QPointF &at) const
    {
        if (oneLine)
            painter.drawText(QPointF(at.x(), at.y() + face.ascent), content);
        else
            layout->draw(&painter, at);
    }

    qreal height = 0;

private:
    void layOut(const Sheet &sheet, qreal width)
    {
        QString flowing = content;
        flowing.replace("\r\n", "\n").replace('\r', '\n').replace('\n', QChar::LineSeparator);
        layout.reset(new QTextLayout(flowing, face.font, &sheet.device));
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        layout->setTextOption(option);
        layout->beginLayout();
        for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
            line.setLineWidth(width);
            line.setPosition(QPointF(0, height));
            height += line.height();
        }
        layout->endLayout();
    }

    QString content;
    const Face &face;
    bool oneLine = true;
    std::unique_ptr<QTextLayout> layout;
};

QString italianDate(const QDate &date)
{
    return QLocale(QLocale::Italian, QLocale::Italy).toString(date, "d MMMM yyyy");
}

// The top of a page: icon, title and date on one line, the subtitle under
// them, a rule. Answers its height; paints it when painter is given.
qreal heading(const Sheet &sheet, const PageHeading &page, QPainter *painter)
{
    const qreal side = sheet.mm(10), gap = sheet.mm(3);
    const QString date = italianDate(page.date);
    const qreal dateWidth = sheet.advance(sheet.small, date);
    const qreal titleLeft = page.icon.isNull() ? 0 : side + gap;
    const WrappedText title(sheet, page.title, sheet.title, qMax(sheet.mm(20), sheet.width - titleLeft - dateWidth - gap));
    const qreal top = qMax(side, title.height);
    const WrappedText subtitle(sheet, page.subtitle, sheet.text, sheet.width);
    const qreal rule = top + (page.subtitle.isEmpty() ? 0 : sheet.mm(1.5) + subtitle.height) + sheet.mm(2.5);
    if (!painter)
        return rule + sheet.mm(3);

    if (!page.icon.isNull()) {
        // Drawn at the resolution of the paper, up to 300 dots per inch.
        const int pixels = int(std::ceil(side * qMin(sheet.dpi, qreal(300)) / sheet.dpi));
        const QPixmap picture = page.icon.pixmap(QSize(pixels, pixels));
        if (!picture.isNull()) {
            const QSizeF shown = QSizeF(picture.size()).scaled(side, side, Qt::KeepAspectRatio);
            painter->drawPixmap(QRectF(QPointF(0, (top - shown.height()) / 2), shown), picture, picture.rect());
        }
    }
    painter->setPen(Ink);
    painter->setFont(sheet.title.font);
    title.draw(*painter, QPointF(titleLeft, (top - title.height) / 2));
    painter->setPen(Muted);
    painter->setFont(sheet.small.font);
    painter->drawText(QRectF(sheet.width - dateWidth, 0, dateWidth, top), Qt::AlignRight | Qt::AlignVCenter, date);
    if (!page.subtitle.isEmpty()) {
        painter->setFont(sheet.text.font);
        subtitle.draw(*painter, QPointF(0, top + sheet.mm(1.5)));
    }
    painter->setPen(QPen(Rule, sheet.mm(0.3)));
    painter->drawLine(QPointF(0, rule), QPointF(sheet.width, rule));
    return rule + sheet.mm(3);
}

qreal footerHeight(const Sheet &sheet)
{
    return sheet.small.height + sheet.mm(3);
}

void footer(const Sheet &sheet, QPainter &painter, int page, int pages)
{
    painter.setPen(Muted);
    painter.setFont(sheet.small.font);
    painter.drawText(QRectF(0, sheet.height - sheet.small.height, sheet.width, sheet.small.height),
                     Qt::AlignHCenter | Qt::AlignBottom, QString("Pagina %1 di %2").arg(page).arg(pages));
}

// Pages of blocks of the given heights in a band of the given height: the
// first block of each page. A block taller than the band has a page of its own.
QVector<int> pageStarts(const QVector<qreal> &heights, qreal band)
{
    QVector<int> starts = {0};
    qreal used = 0;
    for (int i = 0; i < heights.size(); ++i) {
        if (used > 0 && used + heights.at(i) > band) {
            starts << i;
            used = 0;
        }
        used += heights.at(i);
    }
    return starts;
}

// Widths for columns that want more than there is: from the narrowest up,
// each column gets what it wants while the others can still have floor at
// least; those left share the rest equally.
QVector<qreal> shareOut(const QVector<qreal> &wanted, qreal available, qreal floor)
{
    QVector<int> order(wanted.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&wanted](int a, int b) { return wanted.at(a) < wanted.at(b); });
    QVector<qreal> widths = wanted;
    qreal left = available;
    int open = wanted.size();
    for (int j : qAsConst(order)) {
        if (wanted.at(j) + (open - 1) * floor > left)
            break;
        left -= wanted.at(j);
        --open;
    }
    for (int k = wanted.size() - open; k < wanted.size(); ++k)
        widths[order.at(k)] = left / open;
    return widths;
}

// Column widths in the width there is: each column as wide as its longest
// text when they all fit. Otherwise each is at least as wide as its longest
// word, so that a date, an amount or a name is not broken, and the width left
// goes first to the columns that need least to show their texts on one line;
// those with long texts share what remains. When even the words do not fit,
// the columns with the longest words (addresses, links) narrow and break.
QVector<qreal> fitColumns(const QVector<qreal> &natural, const QVector<qreal> &least, qreal available, qreal floor)
{
    qreal wide = 0, narrow = 0;
    for (int j = 0; j < natural.size(); ++j) {
        wide += natural.at(j);
        narrow += least.at(j);
    }
    QVector<qreal> widths(natural.size());
    if (wide <= available) {
        for (int j = 0; j < natural.size(); ++j)
            widths[j] = natural.at(j) * available / wide;
        return widths;
    }
    if (narrow >= available)
        return shareOut(least, available, floor);
    QVector<int> order(natural.size());
    std::iota(order.begin(), order.end(), 0);
    auto need = [&](int j) { return natural.at(j) - least.at(j); };
    std::stable_sort(order.begin(), order.end(), [&need](int a, int b) { return need(a) < need(b); });
    widths = least;
    qreal left = available - narrow, wanting = 0;
    int k = 0;
    for (; k < order.size() && need(order.at(k)) <= left; ++k) {
        widths[order.at(k)] = natural.at(order.at(k));
        left -= need(order.at(k));
    }
    for (int r = k; r < order.size(); ++r)
        wanting += need(order.at(r));
    for (int r = k; r < order.size(); ++r)
        widths[order.at(r)] += left * need(order.at(r)) / wanting;
    return widths;
}

// The width of the longest word of text; whole when it is one word.
qreal longestWord(const QFontMetricsF &metrics, const QString &text, qreal whole)
{
    if (std::none_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); }))
        return whole;
    qreal longest = 0;
    int start = 0;
    for (int i = 0; i <= text.size(); ++i) {
        if (i == text.size() || text.at(i).isSpace()) {
            if (i > start)
                longest = qMax(longest, metrics.horizontalAdvance(text.mid(start, i - start)));
            start = i + 1;
        }
    }
    return longest;
}

QImage pictureFor(const QString &file)
{
    QImageReader reader(file);
    reader.setAutoTransform(true);
    return reader.read();
}

} // namespace

int paintList(QPagedPaintDevice &device, const PrintedList &list, const PageHeading &page,
              const std::function<void(int, int)> &pageDone)
{
    QPainter painter;
    if (!painter.begin(&device))
        return 0;
    const Sheet sheet(device);
    const int columns = list.titles.size();
    const qreal pad = sheet.mm(1.2);
    const QFontMetricsF measure(sheet.text.font, &device);

    // Every text is measured once: for the widths, then for the rows.
    QVector<qreal> natural(columns, 0), least(columns, 0), advances;
    advances.reserve(list.rows.size() * columns);
    const QFontMetricsF titles(sheet.bold.font, &device);
    for (int j = 0; j < columns; ++j) {
        natural[j] = titles.horizontalAdvance(list.titles.at(j));
        least[j] = longestWord(titles, list.titles.at(j), natural.at(j));
    }
    for (const QStringList &row : list.rows) {
        for (int j = 0; j < columns; ++j) {
            const qreal advance = measure.horizontalAdvance(row.at(j));
            advances << advance;
            if (advance > least.at(j))
                least[j] = qMax(least.at(j), longestWord(measure, row.at(j), advance));
            natural[j] = qMax(natural[j], advance);
        }
    }
    // No column takes more than the page; no word more than a third of it.
    for (int j = 0; j < columns; ++j) {
        natural[j] = qMin(natural.at(j) + 2 * pad, sheet.width);
        least[j] = qMin(least.at(j) + 2 * pad, sheet.width / 3);
        natural[j] = qMax(natural.at(j), least.at(j));
    }
    const QVector<qreal> widths = fitColumns(natural, least, sheet.width, qMin(sheet.mm(15), sheet.width / columns));

    const qreal top = heading(sheet, page, nullptr), bottom = sheet.height - footerHeight(sheet);
    auto titleRow = [&](QPainter *p, qreal y) {
        qreal height = 0, x = 0;
        if (p) {
            p->setPen(Ink);
            p->setFont(sheet.bold.font);
        }
        for (int j = 0; j < columns; ++j) {
            const qreal room = widths.at(j) - 2 * pad, advance = titles.horizontalAdvance(list.titles.at(j));
            const WrappedText title(sheet, list.titles.at(j), sheet.bold, room, advance);
            height = qMax(height, title.height);
            // Over numbers, on the right as they are.
            const qreal indent = list.numbers.value(j) && advance <= room ? room - advance : 0;
            if (p)
                title.draw(*p, QPointF(x + pad + indent, y + pad));
            x += widths.at(j);
        }
        return height + 2 * pad;
    };
    const qreal titlesHeight = titleRow(nullptr, 0);
    // A row taller than a page is cut at the page's end.
    const qreal band = qMax(bottom - top - titlesHeight, sheet.mm(10));
    QVector<qreal> heights(list.rows.size());
    QVector<bool> cut(list.rows.size(), false);
    for (int i = 0; i < list.rows.size(); ++i) {
        qreal height = sheet.text.height;
        for (int j = 0; j < columns; ++j) {
            const QString &cell = list.rows.at(i).at(j);
            const qreal advance = advances.at(i * columns + j);
            if (advance > widths.at(j) - 2 * pad || cell.contains('\n') || cell.contains('\r'))
                height = qMax(height, WrappedText(sheet, cell, sheet.text, widths.at(j) - 2 * pad, advance).height);
        }
        cut[i] = height + 2 * pad > band;
        heights[i] = qMin(height + 2 * pad, band);
    }
    const QVector<int> starts = pageStarts(heights, band);
    const QPen rule(Rule, sheet.mm(0.1));

    for (int p = 0; p < starts.size(); ++p) {
        if (p > 0)
            device.newPage();
        heading(sheet, page, &painter);
        qreal y = top;
        painter.fillRect(QRectF(0, y, sheet.width, titlesHeight), HeadBand);
        titleRow(&painter, y);
        y += titlesHeight;
        painter.setFont(sheet.text.font);
        const int end = p + 1 < starts.size() ? starts.at(p + 1) : list.rows.size();
        for (int i = starts.at(p); i < end; ++i) {
            const QRectF rowRect(0, y, sheet.width, heights.at(i));
            if (i % 2 == 1)
                painter.fillRect(rowRect, Band);
            if (cut.at(i)) {
                painter.save();
                painter.setClipRect(rowRect);
            }
            painter.setPen(Ink);
            qreal x = 0;
            for (int j = 0; j < columns; ++j) {
                const qreal advance = advances.at(i * columns + j), room = widths.at(j) - 2 * pad;
                // Numbers that fit stand on the right, under each other.
                const qreal indent = list.numbers.value(j) && advance <= room ? room - advance : 0;
                WrappedText(sheet, list.rows.at(i).at(j), sheet.text, room, advance)
                    .draw(painter, QPointF(x + pad + indent, y + pad));
                x += widths.at(j);
            }
            if (cut.at(i))
                painter.restore();
            y += heights.at(i);
            painter.setPen(rule);
            painter.drawLine(QPointF(0, y), QPointF(sheet.width, y));
        }
        // Lines between the columns, from the titles to the last row.
        painter.setPen(rule);
        qreal x = 0;
        for (int j = 0; j + 1 < columns; ++j) {
            x += widths.at(j);
            painter.drawLine(QPointF(x, top), QPointF(x, y));
        }
        if (list.rows.isEmpty()) {
            painter.setPen(Muted);
            painter.drawText(QRectF(0, y + pad, sheet.width, sheet.text.height + 2 * pad), Qt::AlignHCenter,
                             "Nessun Record");
        }
        footer(sheet, painter, p + 1, starts.size());
        if (pageDone)
            pageDone(p + 1, starts.size());
    }
    painter.end();
    return starts.size();
}

int paintRecord(QPagedPaintDevice &device, const PrintedRecord &record, const PageHeading &page)
{
    QPainter painter;
    if (!painter.begin(&device))
        return 0;
    const Sheet sheet(device);
    const qreal pad = sheet.mm(1.5), gap = sheet.mm(4);

    // Titles take what the longest needs, at most a third of the width.
    qreal titleWidth = sheet.mm(10);
    for (const PrintedField &field : record.fields)
        titleWidth = qMax(titleWidth, sheet.advance(sheet.bold, field.title));
    titleWidth = qMin(titleWidth, sheet.width / 3);
    const qreal valueLeft = titleWidth + gap, valueWidth = sheet.width - valueLeft;

    const qreal top = heading(sheet, page, nullptr), bottom = sheet.height - footerHeight(sheet);
    const qreal band = qMax(bottom - top, sheet.mm(10));
    // An image fits the value's width and at most a third of the page's height,
    // and is never drawn larger than it is on a screen.
    const QSizeF pictureBox(valueWidth, qMin(sheet.mm(90), band / 3));
    QVector<QSizeF> pictures;
    QVector<qreal> heights;
    for (const PrintedField &field : record.fields) {
        QSizeF picture;
        if (!field.imageFile.isEmpty()) {
            const QSize size = QImageReader(field.imageFile).size();
            if (size.isValid()) {
                picture = QSizeF(size) * (sheet.dpi / 96.0);
                if (picture.width() > pictureBox.width() || picture.height() > pictureBox.height())
                    picture.scale(pictureBox, Qt::KeepAspectRatio);
            }
        }
        pictures << picture;
        const qreal titleHeight = WrappedText(sheet, field.title, sheet.bold, titleWidth).height;
        const qreal valueHeight = WrappedText(sheet, field.text, sheet.text, valueWidth).height
                                  + (picture.isEmpty() ? 0 : picture.height() + sheet.mm(2));
        heights << qMin(qMax(titleHeight, valueHeight) + 2 * pad, band);
    }
    const QVector<int> starts = pageStarts(heights, band);

    for (int p = 0; p < starts.size(); ++p) {
        if (p > 0)
            device.newPage();
        heading(sheet, page, &painter);
        qreal y = top;
        const int end = p + 1 < starts.size() ? starts.at(p + 1) : record.fields.size();
        for (int i = starts.at(p); i < end; ++i) {
            const PrintedField &field = record.fields.at(i);
            painter.save();
            painter.setClipRect(QRectF(0, y, sheet.width, heights.at(i)));
            painter.setPen(Muted);
            painter.setFont(sheet.bold.font);
            WrappedText(sheet, field.title, sheet.bold, titleWidth).draw(painter, QPointF(0, y + pad));
            painter.setPen(Ink);
            painter.setFont(sheet.text.font);
            const WrappedText value(sheet, field.text, sheet.text, valueWidth);
            value.draw(painter, QPointF(valueLeft, y + pad));
            if (!pictures.at(i).isEmpty()) {
                const QSizeF shown = pictures.at(i);
                const QSize pixels = (shown * (qMin(sheet.dpi, PictureDpi) / sheet.dpi)).toSize().expandedTo({1, 1});
                const QImage picture = pictureFor(field.imageFile);
                if (!picture.isNull())
                    painter.drawImage(QRectF(QPointF(valueLeft, y + pad + value.height + sheet.mm(2)), shown),
                                      picture.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation));
            }
            painter.restore();
            y += heights.at(i);
            painter.setPen(QPen(Rule, sheet.mm(0.1)));
            painter.drawLine(QPointF(0, y), QPointF(sheet.width, y));
        }
        if (record.fields.isEmpty()) {
            painter.setPen(Muted);
            painter.setFont(sheet.text.font);
            painter.drawText(QRectF(0, y, sheet.width, sheet.text.height), Qt::AlignHCenter, "Nessun campo");
        }
        footer(sheet, painter, p + 1, starts.size());
    }
    painter.end();
    return starts.size();
}

QString writePdf(const QString &path, const QPageLayout &layout, const QString &title,
                 const std::function<int(QPagedPaintDevice &)> &paint)
{
    QSaveFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::WriteOnly))
        return CannotWrite;
    int pages = 0;
    {
        QPdfWriter writer(&file);
        writer.setPageLayout(layout);
        writer.setTitle(title);
        writer.setCreator("Tessaro");
        pages = paint(writer);
    }
    if (pages < 1) {
        file.cancelWriting();
        return CannotWrite;
    }
    return file.commit() ? QString() : QString(CannotWrite);
}

QIcon tableIconOf(DbConnection &db, const QString &folder, const QString &table)
{
    loadTessaroResources();
    // A table with no row in settings, or one designed without choosing an
    // icon, has the built-in icon.
    QString path;
    if (db.tableExists(Naming::SettingsTable)) {
        const QSqlRecord row = db.findRecord(Naming::SettingsTable, Naming::SettingsNameColumn, table);
        path = db.getFieldValue(Naming::SettingsTable, row, Naming::SettingsIconColumn).toString();
    }
    if (path.isEmpty())
        return QIcon(":generalIcon");
    QIcon icon;
    icon.addFile(folder + path);
    return icon;
}

QString listSubtitle(int records, const QString &filter)
{
    const QString count = QString("%1 Record").arg(records);
    return filter.isEmpty() ? count : count + QString::fromUtf8(" — Filtro: ") + filter;
}

QString writeTablePdf(DbConnection &db, const QString &folder, const QString &table, const QString &path)
{
    const PrintedList list = gatherList(db, table, printableColumns(db, table));
    PageHeading page;
    page.icon = tableIconOf(db, folder, table);
    page.title = list.table;
    page.subtitle = listSubtitle(list.rows.size(), QString());
    return writePdf(path, rememberedPageLayout(), list.table,
                    [&](QPagedPaintDevice &device) { return paintList(device, list, page); });
}

QPageLayout rememberedPageLayout()
{
    QPageLayout layout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(15, 15, 15, 15),
                       QPageLayout::Millimeter);
    QFile file(PageSetupFile);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return layout;
    // "A4 portrait 15 15 15 15", or "210x297 ..." for a size of its own (mm).
    const QStringList words = QString::fromUtf8(file.readLine()).simplified().split(' ');
    if (words.size() != 6)
        return layout;
    QPageSize size;
    for (int id = 0; id <= int(QPageSize::LastPageSize); ++id) {
        if (QPageSize::key(QPageSize::PageSizeId(id)) == words.at(0))
            size = QPageSize(QPageSize::PageSizeId(id));
    }
    if (!size.isValid()) {
        const QStringList sides = words.at(0).split('x');
        const QSizeF custom(sides.value(0).toDouble(), sides.value(1).toDouble());
        if (custom.width() <= 0 || custom.height() <= 0)
            return layout;
        size = QPageSize(custom, QPageSize::Millimeter);
    }
    const QMarginsF margins(words.at(2).toDouble(), words.at(3).toDouble(), words.at(4).toDouble(),
                            words.at(5).toDouble());
    return QPageLayout(size, words.at(1) == "landscape" ? QPageLayout::Landscape : QPageLayout::Portrait, margins,
                       QPageLayout::Millimeter);
}

bool rememberPageLayout(const QPageLayout &layout)
{
    QSaveFile file(PageSetupFile);
    if (!layout.isValid() || !file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    const QPageSize size = layout.pageSize();
    const QSizeF sides = size.size(QPageSize::Millimeter);
    const QString name = size.id() == QPageSize::Custom ? QString("%1x%2").arg(sides.width()).arg(sides.height())
                                                         : QPageSize::key(size.id());
    const QMarginsF margins = layout.margins(QPageLayout::Millimeter);
    QTextStream out(&file);
    out << name << (layout.orientation() == QPageLayout::Landscape ? " landscape " : " portrait ") << margins.left()
        << " " << margins.top() << " " << margins.right() << " " << margins.bottom() << "\n";
    out.flush();
    return file.commit();
}

// The fuzz seed corpus replayed through the same reader entry points as the
// fuzz targets, so that an ordinary build keeps them passing.
#include "fuzz/fuzzentries.h"

#include <QDir>
#include <QtTest>

class TestFuzzCorpus : public QObject
{
    Q_OBJECT

    DbConnection db; // the fuzz targets' database, made once

private slots:
    void initTestCase() { makeFuzzDatabase(db); }

    void replay_data()
    {
        QTest::addColumn<QString>("path");
        const QString corpus = QFINDTESTDATA("fuzz/corpus");
        QVERIFY(!corpus.isEmpty());
        for (const QString &kind : {"tvf", "tsc", "csv"}) {
            const QDir folder(corpus + "/" + kind);
            for (const QString &name : folder.entryList(QDir::Files))
                QTest::newRow(qPrintable(kind + "/" + name)) << folder.filePath(name);
        }
    }
    void replay()
    {
        QFETCH(QString, path);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        if (path.endsWith(".tvf"))
            fuzzRecordFile(db, bytes);
        else if (path.endsWith(".csv"))
            fuzzCsvFile(db, bytes);
        else
            fuzzStructureFile(db, bytes);
    }
};

QTEST_GUILESS_MAIN(TestFuzzCorpus)
#include "tst_fuzzcorpus.moc"

#include "storage/namingscheme.h"

#include <QtTest>

class TestNamingScheme : public QObject
{
    Q_OBJECT

private slots:
    void displayAndInternal_data();
    void displayAndInternal();
    void columnParts_data();
    void columnParts();
    void systemTables_data();
    void systemTables();
    void folderPath_data();
    void folderPath();
};

void TestNamingScheme::displayAndInternal_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("internal");
    QTest::addColumn<QString>("display");
    QTest::newRow("plain") << "Clienti" << "Clienti" << "Clienti";
    QTest::newRow("hidden") << "#Orders" << "HIDDENTABLE_Orders" << "#Orders";
    QTest::newRow("subtable") << "#Orders->cfg1->lines" << "HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg1"
                              << "#Orders->cfg1->lines";
    QTest::newRow("subtable of underscored names")
        << "#Clienti_Roma->cfg_a->Righe_ordine"
        << "HIDDENTABLE_Clienti_Roma_XSBTX_SUBTABLEFORMAT_Righe_ordine_XSBTUSRX_cfg_a" << "#Clienti_Roma->cfg_a->Righe_ordine";
    // "#" anywhere becomes the hidden marker and back: names are not escaped.
    QTest::newRow("hash inside") << "A#B" << "AHIDDENTABLE_B" << "A#B";
    QTest::newRow("empty") << "" << "" << "";
    QTest::newRow("lower-case marker is not a marker") << "hiddentable_x" << "hiddentable_x" << "hiddentable_x";
}

void TestNamingScheme::displayAndInternal()
{
    QFETCH(QString, input);
    QFETCH(QString, internal);
    QFETCH(QString, display);
    QCOMPARE(toInternalTableName(input), internal);
    QCOMPARE(toDisplayTableName(internal), display);
}

void TestNamingScheme::columnParts_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("flagAndStem");
    QTest::newRow("required string") << "RSTRINGFORMAT_name" << "STRINGFORMAT" << "name" << "RSTRING";
    QTest::newRow("real") << "NREALFORMAT_price" << "REALFORMAT" << "price" << "NREAL";
    QTest::newRow("long string") << "NLONGSTRINGFORMAT_UserPath" << "LONGSTRINGFORMAT" << "UserPath" << "NLONGSTRING";
    QTest::newRow("id") << "RINTEGERFORMAT_Id" << "INTEGERFORMAT" << "Id" << "RINTEGER";
    QTest::newRow("second FORMAT_ cuts the field") << "NSTRINGFORMAT_aFORMAT_b" << "STRINGFORMAT" << "a" << "NSTRING";
    QTest::newRow("underscored field") << "RDATEFORMAT_Data_di_nascita" << "DATEFORMAT" << "Data_di_nascita" << "RDATE";
    QTest::newRow("repeat suffix stays in the field") << "NMONEYFORMAT_Prezzo_XMLTYX_2" << "MONEYFORMAT"
                                                      << "Prezzo_XMLTYX_2" << "NMONEY";
    QTest::newRow("link") << "NLINKFORMAT_Clienti" << "LINKFORMAT" << "Clienti" << "NLINK";
    QTest::newRow("foreign plain name") << "name" << "ameFORMAT" << "" << "name";
}

void TestNamingScheme::columnParts()
{
    QFETCH(QString, column);
    QFETCH(QString, tag);
    QFETCH(QString, field);
    QFETCH(QString, flagAndStem);
    QCOMPARE(typeTagOf(column), tag);
    QCOMPARE(fieldNameOf(column), field);
    QCOMPARE(flagAndStemOf(column), flagAndStem);
}

void TestNamingScheme::systemTables_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("system");
    QTest::newRow("settings") << "settings" << true;
    QTest::newRow("filters") << "filters" << true;
    QTest::newRow("subtablesconfigs") << "subtablesconfigs" << true;
    QTest::newRow("capital S") << "Settings" << false;
    QTest::newRow("hidden settings") << "HIDDENTABLE_settings" << false;
    QTest::newRow("blank") << "settings " << false;
}

void TestNamingScheme::systemTables()
{
    QFETCH(QString, name);
    QFETCH(bool, system);
    QCOMPARE(isSystemTable(name), system);
}

void TestNamingScheme::folderPath_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::newRow("point removed, blank kept") << "TABLES_DOC" << "Vendite 2020.1" << "TABLES_DOC/Vendite 20201";
    QTest::newRow("every stripped character")
        << "D" << "a'b?c!d.e,f;g:h<i>j/k\\l\"m*n[o]p" << "D/abcdefghijklmnop";
    QTest::newRow("hidden table keeps its marker") << "TABLES_DOC" << "HIDDENTABLE_Orders_Mario"
                                                   << "TABLES_DOC/HIDDENTABLE_Orders_Mario";
    QTest::newRow("subtable shortened")
        << "TABLES_DOC" << "HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg_XSBCONFX_1_Mario"
        << "TABLES_DOC/Orders_lines_cfg1_Mario";
    QTest::newRow("record of a user table") << "TABLES_DOC" << "Clienti_Mario_Rossi" << "TABLES_DOC/Clienti_Mario_Rossi";
}

void TestNamingScheme::folderPath()
{
    QFETCH(QString, folder);
    QFETCH(QString, name);
    QFETCH(QString, path);
    QCOMPARE(tableFolderPath(folder, name), path);
}

QTEST_APPLESS_MAIN(TestNamingScheme)
#include "tst_namingscheme.moc"

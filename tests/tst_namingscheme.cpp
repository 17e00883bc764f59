// What table and column names say: each name read once, and back.
#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QtTest>

class TestNamingScheme : public QObject
{
    Q_OBJECT

private slots:
    void tables_data()
    {
        QTest::addColumn<QString>("typed");    // as the user types or a list shows it
        QTest::addColumn<QString>("internal");
        QTest::addColumn<QString>("display");
        QTest::addColumn<QString>("kind");     // hidden, system, subtable owner|field|configuration
        QTest::newRow("plain") << "Clienti" << "Clienti" << "Clienti" << "";
        QTest::newRow("hidden") << "#Orders" << "HIDDENTABLE_Orders" << "#Orders" << "hidden";
        QTest::newRow("subtable") << "#Orders->cfg1->lines"
                                  << "HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg1"
                                  << "#Orders->cfg1->lines" << "hidden Orders|lines|cfg1";
        QTest::newRow("subtable of underscored names")
            << "#Clienti_Roma->cfg_a->Righe_ordine"
            << "HIDDENTABLE_Clienti_Roma_XSBTX_SUBTABLEFORMAT_Righe_ordine_XSBTUSRX_cfg_a"
            << "#Clienti_Roma->cfg_a->Righe_ordine" << "hidden Clienti_Roma|Righe_ordine|cfg_a";
        // "#" anywhere becomes the marker and back, and hides the table: names are not escaped.
        QTest::newRow("hash inside") << "A#B" << "AHIDDENTABLE_B" << "A#B" << "hidden";
        QTest::newRow("empty") << "" << "" << "" << "";
        QTest::newRow("lower-case marker is no marker") << "hiddentable_x" << "hiddentable_x" << "hiddentable_x" << "";
        QTest::newRow("settings") << "settings" << "settings" << "settings" << "system";
        QTest::newRow("filters") << "filters" << "filters" << "filters" << "system";
        QTest::newRow("subtablesconfigs") << "subtablesconfigs" << "subtablesconfigs" << "subtablesconfigs" << "system";
        QTest::newRow("capital S") << "Settings" << "Settings" << "Settings" << "";
        QTest::newRow("hidden settings") << "#settings" << "HIDDENTABLE_settings" << "#settings" << "hidden";
        QTest::newRow("trailing blank") << "settings " << "settings " << "settings " << "";
    }
    void tables()
    {
        QFETCH(QString, typed);
        QFETCH(QString, internal);
        const TableName name = TableName::fromDisplay(typed);
        QCOMPARE(name.internal(), internal);
        QTEST(TableName(internal).display(), "display");
        QStringList kind;
        if (name.isHidden())
            kind << "hidden";
        if (name.isSystem())
            kind << "system";
        if (name.isSubtable())
            kind << QStringList{name.owner(), name.subtableField(), name.configuration()}.join('|');
        QTEST(kind.join(' '), "kind");
    }

    void columns_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("meaning");
        QTest::newRow("required text") << "RSTRINGFORMAT_name" << "typed required STRINGFORMAT name";
        QTest::newRow("optional decimal") << "NREALFORMAT_price" << "typed REALFORMAT price decimal";
        QTest::newRow("id") << "RINTEGERFORMAT_Id" << "typed required INTEGERFORMAT Id program whole";
        QTest::newRow("record folder") << "NLONGSTRINGFORMAT_UserPath" << "typed LONGSTRINGFORMAT UserPath program";
        QTest::newRow("second FORMAT_ cuts the field") << "NSTRINGFORMAT_aFORMAT_b" << "typed STRINGFORMAT a";
        QTest::newRow("underscored field") << "RDATEFORMAT_Data_di_nascita" << "typed required DATEFORMAT Data_di_nascita";
        QTest::newRow("repeat suffix") << "NMONEYFORMAT_Prezzo_XMLTYX_2"
                                       << "typed MONEYFORMAT Prezzo_XMLTYX_2 bare=Prezzo repeat=2";
        QTest::newRow("link takes no suffix") << "NLINKFORMAT_Clienti" << "typed LINKFORMAT Clienti link=Clienti unsuffixed";
        // The field part counts for the number rules too (REALTY is written as a decimal).
        QTest::newRow("REAL inside the field") << "NSTRINGFORMAT_REALTY" << "typed STRINGFORMAT REALTY decimal";
        QTest::newRow("lookup") << "XClienti_XDTX_RSTRINGFORMAT_Nome" << "lookup Nome into Clienti.RSTRINGFORMAT_Nome";
        QTest::newRow("repeated lookup") << "XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_3"
                                         << "lookup Nome_XMLTYX_3 bare=Nome repeat=3 into Clienti.RSTRINGFORMAT_Nome";
        QTest::newRow("lookup of a hidden table's foreign column")
            << "XHIDDENTABLE_H_XDTX_code" << "lookup code into HIDDENTABLE_H.code";
        QTest::newRow("lookup of a whole number") << "XC_XDTX_NINTEGERFORMAT_n" << "lookup n into C.NINTEGERFORMAT_n whole";
        // A lookup needs both its "X" and its marker; required needs a typed name.
        QTest::newRow("X alone is a foreign name") << "Xcoord" << "foreign";
        QTest::newRow("marker without X") << "NSTRINGFORMAT_a_XDTX_b" << "typed STRINGFORMAT a_XDTX_b";
        QTest::newRow("R without a type") << "Rubrica" << "foreign";
        QTest::newRow("lower case") << "rstringformat_x" << "foreign";
        QTest::newRow("plain name") << "name" << "foreign";
    }
    void columns()
    {
        QFETCH(QString, name);
        const ColumnName c(name);
        QStringList meaning{c.isLookup() ? "lookup" : c.isTyped() ? "typed" : "foreign"};
        if (c.isRequired())
            meaning << "required";
        meaning << c.typeTag() << c.field();
        if (c.repeat())
            meaning << QString("bare=%1 repeat=%2").arg(c.bareField()).arg(c.repeat());
        if (c.isLookup())
            meaning << "into " + c.lookupTable() + "." + c.lookupColumn();
        if (c.isLink())
            meaning << "link=" + c.linkTable();
        if (c.isProgramField())
            meaning << "program";
        if (writesAsWholeNumber(name))
            meaning << "whole";
        if (writesAsDecimal(name))
            meaning << "decimal";
        if (!takesRepeatSuffix(name))
            meaning << "unsuffixed";
        meaning.removeAll(QString());
        QTEST(meaning.join(' '), "meaning");
        QCOMPARE(c.isForeign(), meaning.first() == "foreign");
    }

    void folders_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");
        QTest::newRow("point removed, blank kept") << "Vendite 2020.1" << "TABLES_DOC/Vendite 20201";
        QTest::newRow("every stripped character") << "a'b?c!d.e,f;g:h<i>j/k\\l\"m*n[o]p" << "TABLES_DOC/abcdefghijklmnop";
        QTest::newRow("hidden table keeps its marker") << "HIDDENTABLE_Orders_Mario" << "TABLES_DOC/HIDDENTABLE_Orders_Mario";
        QTest::newRow("subtable shortened") << "HIDDENTABLE_Orders_XSBTX_SUBTABLEFORMAT_lines_XSBTUSRX_cfg_XSBCONFX_1_Mario"
                                            << "TABLES_DOC/Orders_lines_cfg1_Mario";
    }
    void folders()
    {
        QFETCH(QString, name);
        QTEST(tableFolderPath("TABLES_DOC", name), "path");
    }

    // A table's subtable configurations are found by its key, wherever it stands.
    void subtableKeys()
    {
        QCOMPARE(subtableConfigurationKey("HIDDENTABLE_Orders", "NSUBTABLEFORMAT_lines"), QString("Orders_lines"));
        const QString key = subtableConfigurationKey("Clienti", "RSUBTABLEFORMAT_Righe");
        QCOMPARE(key, QString("Clienti_Righe"));
        QVERIFY(belongsToSubtableKey("Clienti_Righe_XSBCONFX_cfg", key));
        QVERIFY(belongsToSubtableKey("Vecchi_Clienti_Righe", key)); // deliberate: a substring
        QVERIFY(!belongsToSubtableKey("Clienti_Note", key));
    }
};

QTEST_APPLESS_MAIN(TestNamingScheme)
#include "tst_namingscheme.moc"

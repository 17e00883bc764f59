#ifndef FUZZENTRIES_H
#define FUZZENTRIES_H

// What the fuzz targets and the corpus replay test run: each reader on a real
// database, then the checks that the input changed nothing it must not.

#include "exchange/csvimport.h"
#include "exchange/recordfile.h"
#include "exchange/structurefile.h"
#include "storage/dbconnection.h"

#include <QCoreApplication>
#include <QStringList>
#include <cstdio>
#include <cstdlib>

// The tables the seed files name: a lookup-identified table with a record
// folder column, a plain one, and the program's own tables. The connection
// has no listener: its failures are kept, never shown.
inline void makeFuzzDatabase(DbConnection &db)
{
    db.openDb(":memory:");
    db.createTable("Citta", {{"RSTRINGFORMAT_Nome", "text"}, {"NSTRINGFORMAT_Provincia", "text"}});
    db.createTable("Persone", {{"XCitta_XDTX_RSTRINGFORMAT_Nome", "Integer"},
                               {"RSTRINGFORMAT_Cognome", "text"},
                               {"NINTEGERFORMAT_Eta", "text"},
                               {"NREALFORMAT_Peso", "text"},
                               {"NLONGSTRINGFORMAT_UserPath", ""},
                               {"NIMAGEFORMAT_Foto", "text"}});
    db.createTable("Note", {{"RSTRINGFORMAT_Titolo", "text"}, {"NLONGSTRINGFORMAT_UserPath", ""}});
    db.createTable("settings", {{"RSTRINGFORMAT_tableName", "text"}, {"RSTRINGFORMAT_iconPath", "text"}});
}

inline void fuzzFail(const char *what)
{
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::abort();
}

// Imports the bytes as a record file, checks that no other table changed and
// that the named one holds exactly the records imported, then empties it for
// the next input.
inline void fuzzRecordFile(DbConnection &db, const QByteArray &bytes)
{
    static const QStringList tables = {"Citta", "Persone", "Note", "settings"};
    RecordFileImporter importer(db);
    importer.load(bytes);
    importer.run();
    db.takeFailures(); // nothing keeps them between inputs
    for (int i = 0; i < tables.size(); ++i) {
        const bool named = tables.at(i) == importer.tableName();
        if (db.countRecords(tables.at(i)) != (named ? importer.importedCount() : 0))
            fuzzFail(named ? "rows differ from the records imported" : "a table not named in the file was written");
        if (named && importer.importedCount() > 0)
            db.clearTable(tables.at(i));
    }
}

// Reads the bytes as a structure file and creates its table, then drops it.
inline void fuzzStructureFile(DbConnection &db, const QByteArray &bytes)
{
    const TableStructure structure = readStructure(bytes);
    structureLineCount(bytes);
    static const int tables = db.getTables().size();
    if (db.createTable("Nuova", structure.columns)) {
        if (db.getTables().size() != tables + 1)
            fuzzFail("creating one table changed the others");
        db.dropTable("Nuova");
    }
    db.takeFailures();
    if (db.getTables().size() != tables)
        fuzzFail("a table was left behind or removed");
}

// The spreadsheets' own database: a looked-up table, two of whose texts
// differ only in case, and a table with a field of every kind.
inline DbConnection &csvFuzzDatabase()
{
    static DbConnection *db = [] {
        auto *made = new DbConnection;
        made->openDb(":memory:");
        made->createTable("Luoghi", {{"RSTRINGFORMAT_Nome", "text"}});
        for (const char *name : {"Milano", "Torino", "torino "})
            made->updateField("Luoghi", made->insertEmptyRecord("Luoghi", false, 0), "RSTRINGFORMAT_Nome", name);
        made->createTable("Clienti", {{"RSTRINGFORMAT_Nome", "text"},
                                      {"XLuoghi_XDTX_RSTRINGFORMAT_Nome", "Integer"},
                                      {"NINTEGERFORMAT_Pezzi", "text"},
                                      {"NREALFORMAT_Peso", "text"},
                                      {"NMONEYFORMAT_Saldo", "text"},
                                      {"NDATEFORMAT_Data", "text"},
                                      {"NBOOLFORMAT_Attivo", "text"},
                                      {"NMAILFORMAT_Posta", "text"},
                                      {"NLONGSTRINGFORMAT_Note", "text"},
                                      {"NLONGSTRINGFORMAT_UserPath", ""}});
        return made;
    }();
    return *db;
}

// Imports the bytes as a spreadsheet's file into Clienti, all or nothing and
// then only the good rows, and as a new table; checks that what was written
// is what the import says, and nothing else. (The spreadsheets have a
// database of their own: the one given is left alone.)
inline void fuzzCsvFile(DbConnection &, const QByteArray &bytes)
{
    DbConnection &db = csvFuzzDatabase();
    for (const bool goodRows : {false, true}) {
        CsvImport import(db);
        if (!import.openBytes(bytes))
            return;
        CsvImport::Plan plan{"Clienti", import.mappingFor("Clienti")};
        plan.goodRows = goodRows;
        const CsvImport::Outcome outcome = import.run(plan);
        db.takeFailures();
        if (db.countRecords("Clienti") != (outcome == CsvImport::Imported ? import.importedCount() : 0))
            fuzzFail("rows differ from the records imported");
        if (outcome == CsvImport::Imported && import.importedCount() + import.leftOutCount() != import.rowCount())
            fuzzFail("a row was neither imported nor left out");
        if ((outcome == CsvImport::HasProblems) != (!goodRows && import.problemCount() > 0 && outcome != CsvImport::Failed))
            fuzzFail("problems and the outcome disagree");
        if (db.countRecords("Luoghi") != 3)
            fuzzFail("the looked-up table was written");
        db.clearTable("Clienti");
    }
    CsvImport import(db);
    import.openBytes(bytes);
    CsvImport::Plan plan;
    plan.table = "Nuova";
    plan.newTable = true;
    plan.newFields = import.guessedFields();
    plan.goodRows = true;
    const CsvImport::Outcome outcome = import.run(plan);
    db.takeFailures();
    if (db.tableExists("Nuova") != (outcome == CsvImport::Imported))
        fuzzFail("a new table was left behind, or not made");
    if (outcome == CsvImport::Imported) {
        if (db.countRecords("Nuova") != import.importedCount())
            fuzzFail("rows of the new table differ from the records imported");
        db.dropTable("Nuova");
    }
}

#endif // FUZZENTRIES_H

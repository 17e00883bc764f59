#!/usr/bin/env python3
"""Spreadsheet files checked with an independent CSV reader and writer (Python's
csv module): what "tessaro export-csv" writes reads back with the right columns,
numbers and dates, in both forms; what a spreadsheet in Italian writes (";",
decimal comma, dd/MM/yyyy, UTF-8 with its mark, CR LF) comes in unchanged.
Usage: csv_crosscheck.py TESSARO_BINARY"""
import csv, datetime, os, sqlite3, subprocess, sys, tempfile

COLUMNS = ["RSTRINGFORMAT_Nome", "XCitta_XDTX_RSTRINGFORMAT_Nome", "NMONEYFORMAT_Saldo", "NREALFORMAT_Peso",
           "NDATEFORMAT_Data_di_nascita", "NBOOLFORMAT_Attivo", "NINTEGERFORMAT_Pezzi", "NLONGSTRINGFORMAT_Note",
           "NLONGSTRINGFORMAT_UserPath"]
RECORDS = [(1, "Mario Rossi", 2, "1234.560000", "1.125000", "28/02/1983", "TRUE", "7", 'riga 1\nriga 2; "citata"',
            "TABLES_DOC/Clienti_Mario_Rossi"),
           (2, "Anna, l'Aquila", 1, "-3.500000", "1500.000000", "03/04/2001", "FALSE", "-12", "",
            "TABLES_DOC/Clienti_Anna_lAquila")]
# What a spreadsheet in Italian holds for the same records.
SHEET = [["Nome", "Città", "Saldo", "Peso", "Data di nascita", "Attivo", "Pezzi", "Note"],
         ["Mario Rossi", "Torino", "1.234,56", "1,125", "28/02/1983", "Sì", "7", 'riga 1\nriga 2; "citata"'],
         ["Anna, l'Aquila", "Milano", "-3,50 €", "1.500", "03/04/2001", "No", "-12", ""]]


def check(condition, what):
    if not condition:
        sys.exit("cross-check failed: " + what)


def tessaro(*arguments):
    done = subprocess.run([sys.argv[1]] + list(arguments), capture_output=True, text=True,
                          env=dict(os.environ, QT_QPA_PLATFORM=""))
    check(done.returncode == 0, " ".join(arguments) + ": " + done.stderr)


def records(path):
    with sqlite3.connect(path) as db:
        return [tuple(r) for r in db.execute("SELECT * FROM Clienti ORDER BY RINTEGERFORMAT_Id")]


with tempfile.TemporaryDirectory() as folder:
    database, sheet = os.path.join(folder, "a.db"), os.path.join(folder, "foglio.csv")
    with sqlite3.connect(database) as db:
        db.execute('CREATE TABLE Citta ("RINTEGERFORMAT_Id" integer primary key, "RSTRINGFORMAT_Nome" text)')
        db.executemany("INSERT INTO Citta VALUES (?, ?)", [(1, "Milano"), (2, "Torino")])
        db.execute('CREATE TABLE Clienti ("RINTEGERFORMAT_Id" integer primary key, %s)'
                   % ", ".join('"%s" %s' % (c, "Integer" if c[0] == "X" else "text") for c in COLUMNS))
        db.executemany("INSERT INTO Clienti VALUES (%s)" % ",".join("?" * 10), RECORDS)

    for international in (False, True):
        path = os.path.join(folder, "out.csv")
        tessaro("export-csv", database, "Clienti", path, *(["--international"] if international else []))
        with open(path, "rb") as f:
            check(f.read(3) == b"\xef\xbb\xbf" or international, "byte-order mark")
        with open(path, newline="", encoding="utf-8-sig") as f:
            rows = list(csv.reader(f, delimiter="," if international else ";"))
        check(rows[0] == ["Nome", "Nome (Citta)"] + SHEET[0][2:], "header %r" % rows[0])
        check(len(rows) == 3 and all(len(row) == 8 for row in rows), "rows %r" % rows)
        for row, record in zip(rows[1:], RECORDS):
            number = lambda text: float(text if international else text.replace(",", "."))
            check(number(row[2]) == float(record[3]) and number(row[3]) == float(record[4])
                  and ("," in row[2]) != international, "numbers %r" % row)
            date = datetime.date.fromisoformat(row[4]) if international else \
                datetime.datetime.strptime(row[4], "%d/%m/%Y").date()
            check(date == datetime.datetime.strptime(record[5], "%d/%m/%Y").date(), "date %r" % row[4])
            check(row[1] == ["Milano", "Torino"][record[2] - 1] and row[7] == record[8], "texts %r" % row)
            check(row[5] == ("Sì" if record[6] == "TRUE" else "No"), "yes/no %r" % row[5])

    with open(sheet, "w", newline="", encoding="utf-8-sig") as f:
        csv.writer(f, delimiter=";", lineterminator="\r\n").writerows(SHEET)
    with sqlite3.connect(database) as db:
        db.execute("DELETE FROM Clienti")
    tessaro("import-csv", database, "Clienti", sheet)
    check(records(database) == RECORDS, "imported %r" % records(database))
print("csv cross-check passed")

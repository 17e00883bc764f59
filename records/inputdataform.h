#ifndef INPUTDATAFORM_H
#define INPUTDATAFORM_H

#include "filters/recordfilter.h"

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QWidget>

namespace Ui {
class inputDataForm;
}
class DateEdit;
class ImageBox;
class QCheckBox;
class QComboBox;
class QFrame;
class QPushButton;
class WholeNumberBox;

// Edits one field of one record. It shows the one control that suits the
// column's type word ("STRING", "DATE", ..., "_XDTX_" for a lookup) and gives
// back the text stored in the database. In filter mode it also shows the
// comparison buttons and the And/Or pair, and keeps an active flag saying
// whether the field takes part in the filter. It never touches the database.
class inputDataForm : public QWidget
{
    Q_OBJECT

public:
    explicit inputDataForm(QWidget *parent = nullptr);
    ~inputDataForm() override;

    void setTitle(bool show, const QString &name);
    void setLineEdit(bool show, const QString &text);
    void setCheckBox(bool show, bool checked, const QString &caption);
    void setComboBox(bool show, const QStringList &items);
    void setDateEdit(bool show, const QDate &date);
    void setSpinBox(bool show, int value);
    void setImageButton(bool show);
    // A shown value the user may read but not change (a link's table name).
    void setLineEditReadOnly(bool on);
    void setPdfButton(bool show);
    // A required field is titled in bold and says so in its tool tip; the
    // title text itself stays the same.
    void setRequired(bool on);
    bool isRequired() const { return required; }
    // Puts the cursor in the control the user types into; false when the
    // editor has none that takes input.
    bool focusInput();

    bool isTitleShown() const { return titleShown; }
    bool isLineEditShown() const { return lineEditShown; }
    bool isCheckBoxShown() const { return checkBoxShown; }
    bool isComboBoxShown() const { return comboBoxShown; }
    bool isDateEditShown() const { return dateEditShown; }
    bool isSpinBoxShown() const { return spinBoxShown; }
    bool isImageButtonShown() const { return imageButtonShown; }
    bool isPdfButtonShown() const { return pdfButtonShown; }

    void setColumnName(const QString &column) { columnFullName = column; }
    QString columnName() const { return columnFullName; }
    QString fieldName() const { return bareFieldName; }
    QString fieldType() const { return typeWord; }

    void setValue(const QString &type, const QVariant &stored);
    // Whether the value control differs from what the owner last put in
    // (setValue, or for a lookup the items and the selected key). An editor
    // never given a value counts as edited.
    bool isEdited() const;
    QString value();
    double numberValue();
    QString dateText() const;
    // Whether the user left the field empty (a number or date not typed, no
    // choice made); a check box is never empty.
    bool isEmptyInput() const;
    // Why the typed value cannot be stored (a number or a date that cannot
    // be read), as the warning says it; empty when it can.
    QString inputProblem() const;
    // The field's title as shown: the whole field name.
    QString titleText() const;

    bool isChecked() const;
    QString checkBoxText() const;
    QString comboText() const;
    int spinValue() const;
    void setComboIndex(int index);
    void setComboText(const QString &text);
    void selectLookupItem(const QString &key);
    QStringList comboItems() const;

    void setFilterMode(bool on);
    int isActive() const { return active; }
    void setActive();
    QString condition() const;
    void setCondition(const QString &word);
    QString connector() const;
    void setConnector(const QString &word);
    // Whether a record's value passes this editor's condition (always true
    // while the field takes no part in the filter).
    bool compareWithFilter(const QString &type, const QVariant &recordValue) const;
    // The condition as plain values, read from the widgets.
    FilterCondition filterCondition() const;

    // Folder texts handed to the image dialog and used for PDF copies:
    // the record's folder ("TABLES_DOC/...") and the database file's folder.
    void setUserPath(const QString &folder) { recordFolder = folder; }
    QString userPath() const { return recordFolder; }
    void setDbFolder(const QString &folder) { documentsBase = folder; }
    QString dbFolder() const { return documentsBase; }

    // Where attached files wait until the record is saved (the record page's).
    void setPendingAttachments(class PendingAttachments *files) { pending = files; }
    QString imagePath() const { return imageFile; }
    QString pdfPath() const { return pdfFile; }
    // The image dialog, made when it is first needed.
    ImageBox *imageBox();

public slots:
    void viewImageBox();
    void addPdf();
    void setNewImage(const QString &fileName);
    void activated();
    void cbActivated(int index);
    void activatedByButton();
    void deactivatedByButton();
    void intPlus();
    void intMinus();

private:
    void connectParts(QObject *made);
    QString shownState() const;
    void rememberShownState();
    // The controls only some fields show, made when first needed and put
    // in their place in the row: most fields show a line edit alone, and a
    // record page holds one editor per column.
    QCheckBox *checkControl();
    DateEdit *dateControl();
    QComboBox *comboControl();
    WholeNumberBox *numberControl();
    void makeFilterButtons();
    void placeInRow(QWidget *control);
    void chooseCondition(const QString &word);

    Ui::inputDataForm *ui;
    QCheckBox *cbData = nullptr;
    DateEdit *deData = nullptr;
    QComboBox *cboxData = nullptr;
    WholeNumberBox *sbNum = nullptr;
    QFrame *buttonFrame = nullptr; // the number's - and + buttons
    // The filter's And/Or pair and comparison buttons; until they are made,
    // the words they would show.
    QFrame *buttonFrame2 = nullptr, *compareFrame = nullptr;
    QPushButton *pbOr = nullptr, *pbAnd = nullptr, *pbMajor = nullptr, *pbEqual = nullptr, *pbMinor = nullptr,
                *pbDiff = nullptr, *pbNoFilter = nullptr;
    QString conditionWord = "NoCondition";
    QString connectorWord = "And";
    QString columnFullName;
    QString typeWord;
    bool titleShown = false;
    bool lineEditShown = false;
    bool checkBoxShown = false;
    bool comboBoxShown = false;
    bool dateEditShown = false;
    bool spinBoxShown = false;
    bool imageButtonShown = false;
    bool pdfButtonShown = false;
    QString imageFile;
    QString pdfFile;
    ImageBox *imageDialog = nullptr;
    QString recordFolder;
    QString documentsBase;
    QString bareFieldName;
    int active = 0;
    QString linkValue;
    bool required = false; // shown as required on a record page
    QString storedState; // the value control as the owner left it
    bool hasStoredState = false;
    class PendingAttachments *pending = nullptr;
};

#endif // INPUTDATAFORM_H

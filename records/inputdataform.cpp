#include "records/inputdataform.h"
#include "ui_inputdataform.h"

#include "app/accessibility.h"
#include "app/resources.h"
#include "storage/namingscheme.h"
#include "records/imagebox.h"
#include "records/pendingattachments.h"
#include "records/typednumber.h"
#include "records/wheelguard.h"
#include "dialogs/messagehandler.h"

#include <limits>

namespace {
using Naming::RepeatMarker;
const char *const LookupWord = Naming::LookupMarker;
const char *const InvalidNumber = "ERRORE: Valore numerico non valido";
} // namespace

inputDataForm::inputDataForm(QWidget *parent) : QWidget(parent), ui(new Ui::inputDataForm)
{
    loadTessaroResources();
    ui->setupUi(this);

    for (QWidget *w : {static_cast<QWidget *>(ui->pbViewImage), static_cast<QWidget *>(ui->pbViewPdf),
                       static_cast<QWidget *>(ui->leData), static_cast<QWidget *>(ui->cbData),
                       static_cast<QWidget *>(ui->cboxData), static_cast<QWidget *>(ui->deData),
                       static_cast<QWidget *>(ui->sbNum), static_cast<QWidget *>(ui->buttonFrame),
                       static_cast<QWidget *>(ui->buttonFrame2), static_cast<QWidget *>(ui->lbType),
                       static_cast<QWidget *>(ui->compareFrame)})
        w->hide();
    active = 0;
    ui->pbNoFilter->setChecked(true);
    ui->pbAnd->setChecked(true);
    ui->deData->clearDate();
    for (QWidget *editor : {static_cast<QWidget *>(ui->cboxData), static_cast<QWidget *>(ui->sbNum)})
        WheelGuard::install(editor);

    // Long texts are shown whole: the line edit's default limit would cut them.
    ui->leData->setMaxLength(std::numeric_limits<int>::max());

    // Icons come from the shared cache: a page holds one editor per column.
    ui->pbViewImage->setIcon(tessaroIcon(":/imageIcon"));
    ui->pbViewPdf->setIcon(tessaroIcon(":/pdfIcon"));
    ui->pbViewImage->setText("Visualizza");
    ui->pbViewImage->setToolTip("Visualizza Immagine");
    ui->pbViewPdf->setText("Aggiungi/Sostituisci");
    ui->pbViewPdf->setToolTip("Aggiungi/Sostituisci PDF");

    connectParts(nullptr);
    Accessibility::nameControls(this);
}

// Every connection of the editor is made here: those of the form's controls
// when the editor is built, and that of the image dialog when it is made.
void inputDataForm::connectParts(ImageBox *dialog)
{
    if (dialog) {
        connect(dialog, &ImageBox::acceptedFile, this, &inputDataForm::setNewImage);
        return;
    }
    connect(ui->pbViewImage, &QPushButton::clicked, this, &inputDataForm::viewImageBox);
    connect(ui->pbViewPdf, &QPushButton::clicked, this, &inputDataForm::addPdf);
    connect(ui->cbData, &QCheckBox::toggled, this, &inputDataForm::activated);
    connect(ui->cboxData, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &inputDataForm::cbActivated);
    connect(ui->deData, &DateEdit::dateChanged, this, &inputDataForm::activated);
    connect(ui->leData, &QLineEdit::textChanged, this, &inputDataForm::activated);
    connect(ui->sbNum, QOverload<int>::of(&QSpinBox::valueChanged), this, &inputDataForm::activated);
    connect(ui->pbEqual, &QPushButton::pressed, this, &inputDataForm::activatedByButton);
    connect(ui->pbMajor, &QPushButton::pressed, this, &inputDataForm::activatedByButton);
    connect(ui->pbMinor, &QPushButton::pressed, this, &inputDataForm::activatedByButton);
    // "!=" only selects its condition: the flag follows the first edit of the value.
    connect(ui->pbNoFilter, &QPushButton::pressed, this, &inputDataForm::deactivatedByButton);
    connect(ui->pbPlus, &QPushButton::clicked, this, &inputDataForm::intPlus);
    connect(ui->pbMinus, &QPushButton::clicked, this, &inputDataForm::intMinus);
}

inputDataForm::~inputDataForm()
{
    delete ui;
}

ImageBox *inputDataForm::imageBox()
{
    // A page holds one editor per column: the dialog is made only for the
    // editors whose image is opened.
    if (!imageDialog) {
        imageDialog = new ImageBox(this);
        imageDialog->setViewOnly(false);
        imageDialog->setPendingAttachments(pending);
        imageDialog->hide();
        connectParts(imageDialog);
    }
    return imageDialog;
}

void inputDataForm::setTitle(bool show, const QString &name)
{
    bareFieldName = name;
    titleShown = show;
    if (!show) {
        ui->lbTitle->hide();
        return;
    }
    // A repeated field (Prezzo_XMLTYX_2) is titled Prezzo2: the marker goes.
    QString title = name;
    const int marker = title.indexOf(RepeatMarker);
    if (marker >= 0)
        title.remove(marker, int(strlen(RepeatMarker)));
    title.replace('_', ' ');
    ui->lbTitle->setText(title);
    ui->lbTitle->show();
    Accessibility::nameEditor(this, title, required);
}

void inputDataForm::setLineEdit(bool show, const QString &text)
{
    lineEditShown = show;
    if (show) {
        ui->leData->setText(text);
        ui->leData->show();
    } else {
        ui->leData->hide();
    }
}

void inputDataForm::setCheckBox(bool show, bool checked, const QString &caption)
{
    checkBoxShown = show;
    if (show) {
        ui->cbData->setChecked(checked);
        ui->cbData->setText(caption);
        ui->cbData->show();
    } else {
        ui->cbData->hide();
    }
}

void inputDataForm::setComboBox(bool show, const QStringList &items)
{
    comboBoxShown = show;
    if (show) {
        // The combo stretches with its page, so it need not measure every
        // item (a lookup into a large table offers one per record).
        ui->cboxData->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        ui->cboxData->setMinimumContentsLength(20);
        ui->cboxData->insertItems(0, items);
        ui->cboxData->show();
        if (typeWord.contains(LookupWord))
            rememberShownState();
    } else {
        ui->cboxData->hide();
    }
}

void inputDataForm::setDateEdit(bool show, const QDate &date)
{
    dateEditShown = show;
    if (show) {
        if (date.isValid())
            ui->deData->setDate(date);
        else
            ui->deData->clearDate();
        ui->deData->show();
    } else {
        ui->deData->hide();
    }
}

void inputDataForm::setSpinBox(bool show, int value)
{
    spinBoxShown = show;
    if (show) {
        ui->sbNum->setValue(value);
        ui->sbNum->show();
        ui->buttonFrame->show();
    } else {
        ui->sbNum->hide();
        ui->buttonFrame->hide();
    }
}

void inputDataForm::setLineEditReadOnly(bool on)
{
    ui->leData->setReadOnly(on);
}

void inputDataForm::setRequired(bool on)
{
    required = on;
    QFont font = ui->lbTitle->font();
    font.setBold(on);
    ui->lbTitle->setFont(font);
    const QString tip = on ? QString::fromUtf8("Campo obbligatorio") : QString();
    ui->lbTitle->setToolTip(tip);
    setToolTip(tip);
    Accessibility::nameEditor(this, ui->lbTitle->text(), on);
}

bool inputDataForm::focusInput()
{
    QWidget *input = nullptr;
    if (lineEditShown && !ui->leData->isReadOnly())
        input = ui->leData;
    else if (checkBoxShown)
        input = ui->cbData;
    else if (comboBoxShown)
        input = ui->cboxData;
    else if (dateEditShown)
        input = ui->deData;
    else if (spinBoxShown)
        input = ui->sbNum;
    if (!input)
        return false;
    input->setFocus(Qt::OtherFocusReason);
    return true;
}

void inputDataForm::setImageButton(bool show)
{
    imageButtonShown = show;
    ui->pbViewImage->setVisible(show);
}

void inputDataForm::setPdfButton(bool show)
{
    pdfButtonShown = show;
    ui->pbViewPdf->setVisible(show);
}

void inputDataForm::setValue(const QString &type, const QVariant &stored)
{
    typeWord = type;
    const QString text = stored.toString();

    // Hides every value control; each type then shows its own.
    auto hideAll = [this](bool keepCombo) {
        setLineEdit(false, QString());
        setCheckBox(false, false, QString());
        setDateEdit(false, QDate());
        setSpinBox(false, 0);
        if (!keepCombo)
            setComboBox(false, QStringList());
        setImageButton(false);
        setPdfButton(false);
        ui->lbType->hide();
        ui->leData->setReadOnly(false);
    };

    if (type == "BOOL") {
        hideAll(false);
        setCheckBox(true, text == "TRUE", QString());
    } else if (type == "DATE") {
        hideAll(false);
        // No date shows empty; a text that is no date keeps the date shown before.
        const QDate date = QDate::fromString(text, "dd/MM/yyyy");
        dateEditShown = true;
        if (date.isValid())
            ui->deData->setDate(date);
        else if (text.isEmpty())
            ui->deData->clearDate();
        ui->deData->show();
    } else if (type == "INTEGER") {
        hideAll(false);
        setSpinBox(true, stored.toInt());
        if (text.isEmpty())
            ui->sbNum->clearNumber();
    } else if (type == "REAL") {
        hideAll(false);
        setLineEdit(true, text);
    } else if (type == "MONEY") {
        hideAll(false);
        ui->lbType->setText(QString::fromUtf8("€"));
        ui->lbType->show();
        setLineEdit(true, text.isEmpty() ? QString() : QString::asprintf("%.2f", stored.toDouble()));
    } else if (type == "IMAGE") {
        hideAll(false);
        setLineEdit(true, text);
        imageFile = text;
        setImageButton(true);
    } else if (type == "PDF") {
        hideAll(false);
        setLineEdit(true, text);
        pdfFile = text;
        setPdfButton(true);
    } else if (type == "STRING" || type == "LONGSTRING" || type == "SUBTABLE" || type == "MAIL" || type == "URL") {
        hideAll(false);
        setLineEdit(true, text);
    } else if (type == "LINK") {
        hideAll(false);
        linkValue = text;
    } else if (type.contains(LookupWord)) {
        // The owner fills the items next and selects the stored key.
        hideAll(true);
        ui->cboxData->setCurrentIndex(stored.toInt());
    } else {
        hideAll(false);
        setLineEdit(true, text);
    }
    rememberShownState();
}

// The state of the control that gives the value of this type.
QString inputDataForm::shownState() const
{
    const QString &t = typeWord;
    if (t == "BOOL")
        return ui->cbData->isChecked() ? "1" : "0";
    if (t == "DATE")
        return ui->deData->hasInvalidText() ? "?" + ui->deData->text() : ui->deData->dateText();
    if (t == "INTEGER")
        return ui->sbNum->text();
    if (t == "IMAGE")
        return imageFile;
    if (t == "PDF")
        return pdfFile;
    if (t == "LINK")
        return linkValue;
    if (t.contains(LookupWord))
        return QString::number(ui->cboxData->currentIndex());
    return ui->leData->text();
}

void inputDataForm::rememberShownState()
{
    storedState = shownState();
    hasStoredState = true;
}

bool inputDataForm::isEdited() const
{
    return !hasStoredState || shownState() != storedState;
}

QString inputDataForm::value()
{
    const QString &t = typeWord;
    if (t == "BOOL")
        return ui->cbData->isChecked() ? "TRUE" : "FALSE";
    if (t == "DATE")
        return dateText();
    if (t == "INTEGER")
        return ui->sbNum->isEmpty() ? QString() : QString::asprintf("%d", ui->sbNum->value());
    if (t == "REAL" || t == "MONEY")
        return QString::asprintf("%f", numberValue());
    if (t == "IMAGE")
        return imageFile;
    if (t == "PDF")
        return pdfFile;
    if (t == "STRING" || t == "LONGSTRING" || t == "SUBTABLE")
        return ui->leData->text().simplified().replace("'", "''");
    // Addresses keep their quotes as typed.
    if (t == "MAIL" || t == "URL")
        return ui->leData->text().simplified();
    if (t == "LINK")
        return linkValue;
    // No choice (the "---" item) is no record: an empty value.
    if (t == LookupWord)
        return ui->cboxData->currentIndex() < 1 ? QString() : ui->cboxData->currentText().section(' ', 0, 0);
    return ui->leData->text().simplified();
}

double inputDataForm::numberValue()
{
    double number = 0.0;
    if (readTypedNumber(ui->leData->text(), &number))
        return number;
    // A value the user did not touch is not the user's mistake; an empty
    // one is no mistake at all.
    if (active == 1 && isEdited() && !ui->leData->text().trimmed().isEmpty())
        MessageHandler::current()->warning(InvalidNumber);
    return 0.0;
}

QString inputDataForm::dateText() const
{
    return ui->deData->dateText();
}

bool inputDataForm::isEmptyInput() const
{
    const QString &t = typeWord;
    if (t == "BOOL")
        return false;
    if (t == "DATE")
        return ui->deData->isEmpty();
    if (t == "INTEGER")
        return ui->sbNum->isEmpty();
    if (t == "IMAGE")
        return imageFile.isEmpty();
    if (t == "PDF")
        return pdfFile.isEmpty();
    if (t == "LINK")
        return linkValue.isEmpty();
    if (t.contains(LookupWord))
        return ui->cboxData->currentIndex() < 1;
    return ui->leData->text().simplified().isEmpty();
}

QString inputDataForm::inputProblem() const
{
    const QString &t = typeWord;
    double number;
    if ((t == "REAL" || t == "MONEY") && !ui->leData->text().trimmed().isEmpty()
        && !readTypedNumber(ui->leData->text(), &number))
        return InvalidNumber;
    if (t == "DATE" && ui->deData->hasInvalidText())
        return QString::asprintf("ERRORE: La data '%s' non è valida!",
                                 ui->deData->text().trimmed().toUtf8().constData());
    return QString();
}

QString inputDataForm::titleText() const
{
    return ui->lbTitle->text();
}

bool inputDataForm::isChecked() const
{
    return ui->cbData->isChecked();
}

QString inputDataForm::checkBoxText() const
{
    return ui->cbData->text();
}

QString inputDataForm::comboText() const
{
    return ui->cboxData->currentText();
}

int inputDataForm::spinValue() const
{
    return ui->sbNum->number();
}

void inputDataForm::setComboIndex(int index)
{
    ui->cboxData->setCurrentIndex(index);
}

void inputDataForm::setComboText(const QString &text)
{
    ui->cboxData->setCurrentText(text);
}

void inputDataForm::selectLookupItem(const QString &key)
{
    // Items read "id firstfield"; the last item with that id wins.
    for (int i = 0; i < ui->cboxData->count(); ++i) {
        if (ui->cboxData->itemText(i).section(' ', 0, 0) == key)
            ui->cboxData->setCurrentIndex(i);
    }
    if (typeWord.contains(LookupWord))
        rememberShownState();
}

QStringList inputDataForm::comboItems() const
{
    QStringList items;
    for (int i = 0; i < ui->cboxData->count(); ++i)
        items << ui->cboxData->itemText(i);
    return items;
}

void inputDataForm::setFilterMode(bool on)
{
    ui->compareFrame->setVisible(on);
    ui->buttonFrame2->setVisible(on);
}

void inputDataForm::setActive()
{
    active = 0;
    ui->pbNoFilter->setChecked(true);
}

QString inputDataForm::condition() const
{
    if (ui->pbEqual->isChecked())
        return "Equal";
    if (ui->pbDiff->isChecked())
        return "Disequal";
    if (ui->pbMajor->isChecked())
        return "Major";
    if (ui->pbMinor->isChecked())
        return "Minor";
    return "NoCondition";
}

void inputDataForm::setCondition(const QString &word)
{
    // The buttons are auto-exclusive: the checked one cannot be unchecked
    // directly, it clears when another one is checked.
    for (QPushButton *b : {ui->pbEqual, ui->pbMajor, ui->pbMinor, ui->pbNoFilter})
        b->setChecked(false);
    if (word == "Equal")
        ui->pbEqual->setChecked(true);
    else if (word == "Disequal")
        ui->pbDiff->setChecked(true);
    else if (word == "Major")
        ui->pbMajor->setChecked(true);
    else if (word == "Minor")
        ui->pbMinor->setChecked(true);
    else
        ui->pbNoFilter->setChecked(true);
}

QString inputDataForm::connector() const
{
    if (!ui->pbAnd->isChecked() && ui->pbOr->isChecked())
        return "Or";
    return "And";
}

void inputDataForm::setConnector(const QString &word)
{
    // Any word but exactly "And" or "Or" leaves the previous choice checked.
    ui->pbAnd->setChecked(false);
    ui->pbOr->setChecked(false);
    if (word == "And")
        ui->pbAnd->setChecked(true);
    else if (word == "Or")
        ui->pbOr->setChecked(true);
}

bool inputDataForm::compareWithFilter(const QString &type, const QVariant &recordValue) const
{
    return conditionPasses(filterCondition(), type, recordValue.toString());
}

FilterCondition inputDataForm::filterCondition() const
{
    FilterCondition c;
    c.column = columnFullName;
    c.type = typeWord;
    c.active = active != 0;
    c.comparison = condition();
    c.joiner = connector();
    c.text = ui->leData->text();
    c.dateText = ui->deData->dateText();
    c.number = ui->sbNum->number();
    c.checked = ui->cbData->isChecked();
    c.lookupKey = ui->cboxData->currentText().section(' ', 0, 0);
    return c;
}

void inputDataForm::viewImageBox()
{
    ImageBox *dialog = imageBox();
    dialog->setModal(true);
    dialog->setUserPath(recordFolder);
    dialog->setDbFolder(documentsBase);
    dialog->showImage(imageFile);
    dialog->show();
}

void inputDataForm::addPdf()
{
    const QString file = MessageHandler::current()->openFileName(this, "Open File", "/home", "Pdf (*.pdf)");
    pdfFile = pending ? pending->stage(file, documentsBase, recordFolder)
                      : copyAttachment(file, documentsBase, recordFolder);
    ui->leData->setText(pdfFile);
}

void inputDataForm::setNewImage(const QString &fileName)
{
    imageFile = fileName;
    ui->leData->setText(fileName);
}

void inputDataForm::activated()
{
    active = 1;
    ui->pbEqual->setChecked(true);
}

void inputDataForm::cbActivated(int index)
{
    if (index < 1) {
        active = 0;
        ui->pbNoFilter->setChecked(true);
    } else {
        active = 1;
        ui->pbEqual->setChecked(true);
    }
}

void inputDataForm::activatedByButton()
{
    active = 1;
}

void inputDataForm::deactivatedByButton()
{
    active = 0;
}

void inputDataForm::intPlus()
{
    ui->sbNum->stepUp();
}

void inputDataForm::intMinus()
{
    ui->sbNum->stepDown();
}

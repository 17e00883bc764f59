#include "records/inputdataform.h"
#include "ui_inputdataform.h"

#include "app/accessibility.h"
#include "app/resources.h"
#include "storage/namingscheme.h"
#include "records/dateedit.h"
#include "records/imagebox.h"
#include "records/pendingattachments.h"
#include "records/typednumber.h"
#include "records/wheelguard.h"
#include "records/wholenumberbox.h"
#include "dialogs/messagehandler.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <limits>

namespace {
using Naming::RepeatMarker;
const char *const LookupWord = Naming::LookupMarker;
const char *const InvalidNumber = "ERRORE: Valore numerico non valido";

// The row's controls in the order they stand, those of the form and those
// made when first needed.
const char *const RowOrder[] = {"buttonFrame2", "compareFrame", "leData", "lbType", "cbData", "deData",
                                "cboxData", "sbNum", "buttonFrame", "pbViewImage", "pbViewPdf"};

int rankInRow(const QString &name)
{
    for (int i = 0; i < int(sizeof(RowOrder) / sizeof(RowOrder[0])); ++i) {
        if (name == QLatin1String(RowOrder[i]))
            return i;
    }
    return -1;
}

QFrame *buttonRow(QWidget *editor, const char *name)
{
    auto *frame = new QFrame(editor);
    frame->setObjectName(name);
    frame->setFrameShape(QFrame::NoFrame);
    auto *row = new QHBoxLayout(frame);
    row->setObjectName(QString(name) + "Layout");
    row->setSpacing(2);
    row->setContentsMargins(0, 0, 0, 0);
    return frame;
}

QPushButton *rowButton(QFrame *frame, const char *name, const QString &text, int width, bool exclusive)
{
    auto *button = new QPushButton(text, frame);
    button->setObjectName(name);
    button->setMinimumWidth(width);
    button->setMaximumWidth(width);
    button->setCheckable(exclusive);
    button->setAutoExclusive(exclusive);
    frame->layout()->addWidget(button);
    return button;
}
} // namespace

inputDataForm::inputDataForm(QWidget *parent) : QWidget(parent), ui(new Ui::inputDataForm)
{
    loadTessaroResources();
    ui->setupUi(this);

    for (QWidget *w : {static_cast<QWidget *>(ui->pbViewImage), static_cast<QWidget *>(ui->pbViewPdf),
                       static_cast<QWidget *>(ui->leData), static_cast<QWidget *>(ui->lbType)})
        w->hide();
    active = 0;

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

// Every connection of the editor is made here: those of the form's own
// controls when the editor is built, and those of each part made later (the
// image dialog, a control only some fields show) when it is made.
void inputDataForm::connectParts(QObject *made)
{
    if (!made) {
        connect(ui->pbViewImage, &QPushButton::clicked, this, &inputDataForm::viewImageBox);
        connect(ui->pbViewPdf, &QPushButton::clicked, this, &inputDataForm::addPdf);
        connect(ui->leData, &QLineEdit::textChanged, this, &inputDataForm::activated);
    } else if (made == imageDialog) {
        connect(imageDialog, &ImageBox::acceptedFile, this, &inputDataForm::setNewImage);
    } else if (made == cbData) {
        connect(cbData, &QCheckBox::toggled, this, &inputDataForm::activated);
    } else if (made == deData) {
        connect(deData, &DateEdit::dateChanged, this, &inputDataForm::activated);
    } else if (made == cboxData) {
        connect(cboxData, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &inputDataForm::cbActivated);
    } else if (made == sbNum) {
        connect(sbNum, QOverload<int>::of(&QSpinBox::valueChanged), this, &inputDataForm::activated);
        connect(buttonFrame->findChild<QPushButton *>("pbMinus"), &QPushButton::clicked, this,
                &inputDataForm::intMinus);
        connect(buttonFrame->findChild<QPushButton *>("pbPlus"), &QPushButton::clicked, this,
                &inputDataForm::intPlus);
    } else if (made == compareFrame) {
        connect(pbEqual, &QPushButton::pressed, this, &inputDataForm::activatedByButton);
        connect(pbMajor, &QPushButton::pressed, this, &inputDataForm::activatedByButton);
        connect(pbMinor, &QPushButton::pressed, this, &inputDataForm::activatedByButton);
        // "!=" only selects its condition: the flag follows the first edit of the value.
        connect(pbNoFilter, &QPushButton::pressed, this, &inputDataForm::deactivatedByButton);
    }
}

void inputDataForm::placeInRow(QWidget *control)
{
    const int rank = rankInRow(control->objectName());
    int at = 0;
    for (int i = 0; i < ui->dataLayout->count(); ++i) {
        const QWidget *other = ui->dataLayout->itemAt(i)->widget();
        const int otherRank = other ? rankInRow(other->objectName()) : -1;
        if (otherRank >= 0 && otherRank < rank)
            at = i + 1;
    }
    ui->dataLayout->insertWidget(at, control);
    control->hide();
    Accessibility::nameControls(this);
    if (titleShown)
        Accessibility::nameEditor(this, ui->lbTitle->text(), required);
}

QCheckBox *inputDataForm::checkControl()
{
    if (!cbData) {
        cbData = new QCheckBox("CheckBox", this);
        cbData->setObjectName("cbData");
        connectParts(cbData);
        placeInRow(cbData);
    }
    return cbData;
}

DateEdit *inputDataForm::dateControl()
{
    if (!deData) {
        deData = new DateEdit(this);
        deData->setObjectName("deData");
        deData->setMinimumWidth(140);
        deData->setMaximumWidth(200);
        deData->clearDate();
        connectParts(deData);
        placeInRow(deData);
    }
    return deData;
}

QComboBox *inputDataForm::comboControl()
{
    if (!cboxData) {
        cboxData = new QComboBox(this);
        cboxData->setObjectName("cboxData");
        QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        policy.setHorizontalStretch(1);
        cboxData->setSizePolicy(policy);
        WheelGuard::install(cboxData);
        connectParts(cboxData);
        placeInRow(cboxData);
    }
    return cboxData;
}

WholeNumberBox *inputDataForm::numberControl()
{
    if (!sbNum) {
        sbNum = new WholeNumberBox(this);
        sbNum->setObjectName("sbNum");
        sbNum->setMinimumWidth(140);
        sbNum->setMaximumWidth(200);
        WheelGuard::install(sbNum);
        buttonFrame = buttonRow(this, "buttonFrame");
        buttonFrame->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
        rowButton(buttonFrame, "pbMinus", "-", 45, false);
        rowButton(buttonFrame, "pbPlus", "+", 45, false);
        connectParts(sbNum);
        placeInRow(sbNum);
        placeInRow(buttonFrame);
    }
    return sbNum;
}

void inputDataForm::makeFilterButtons()
{
    if (compareFrame)
        return;
    buttonFrame2 = buttonRow(this, "buttonFrame2");
    pbOr = rowButton(buttonFrame2, "pbOr", "Or", 45, true);
    pbAnd = rowButton(buttonFrame2, "pbAnd", "And", 45, true);
    compareFrame = buttonRow(this, "compareFrame");
    pbMajor = rowButton(compareFrame, "pbMajor", ">", 32, true);
    pbEqual = rowButton(compareFrame, "pbEqual", "=", 32, true);
    pbMinor = rowButton(compareFrame, "pbMinor", "<", 32, true);
    pbDiff = rowButton(compareFrame, "pbDiff", "!=", 32, true);
    pbNoFilter = rowButton(compareFrame, "pbNoFilter", "X", 32, true);
    connectParts(compareFrame);
    // The buttons take up the words chosen so far.
    const QString condition = conditionWord, connector = connectorWord;
    setCondition(condition);
    setConnector(connector);
    placeInRow(buttonFrame2);
    placeInRow(compareFrame);
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
        checkControl()->setChecked(checked);
        cbData->setText(caption);
        cbData->show();
    } else if (cbData) {
        cbData->hide();
    }
}

void inputDataForm::setComboBox(bool show, const QStringList &items)
{
    comboBoxShown = show;
    if (show) {
        // The combo stretches with its page, so it need not measure every
        // item (a lookup into a large table offers one per record).
        comboControl()->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        cboxData->setMinimumContentsLength(20);
        cboxData->insertItems(0, items);
        cboxData->show();
        if (typeWord.contains(LookupWord))
            rememberShownState();
    } else if (cboxData) {
        cboxData->hide();
    }
}

void inputDataForm::setDateEdit(bool show, const QDate &date)
{
    dateEditShown = show;
    if (show) {
        if (date.isValid())
            dateControl()->setDate(date);
        else
            dateControl()->clearDate();
        deData->show();
    } else if (deData) {
        deData->hide();
    }
}

void inputDataForm::setSpinBox(bool show, int value)
{
    spinBoxShown = show;
    if (show) {
        numberControl()->setValue(value);
        sbNum->show();
        buttonFrame->show();
    } else if (sbNum) {
        sbNum->hide();
        buttonFrame->hide();
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
        input = cbData;
    else if (comboBoxShown)
        input = cboxData;
    else if (dateEditShown)
        input = deData;
    else if (spinBoxShown)
        input = sbNum;
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
            dateControl()->setDate(date);
        else if (text.isEmpty())
            dateControl()->clearDate();
        dateControl()->show();
    } else if (type == "INTEGER") {
        hideAll(false);
        setSpinBox(true, stored.toInt());
        if (text.isEmpty())
            sbNum->clearNumber();
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
        comboControl()->setCurrentIndex(stored.toInt());
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
        return isChecked() ? "1" : "0";
    if (t == "DATE")
        return deData && deData->hasInvalidText() ? "?" + deData->text() : dateText();
    if (t == "INTEGER")
        return sbNum ? sbNum->text() : QString("0");
    if (t == "IMAGE")
        return imageFile;
    if (t == "PDF")
        return pdfFile;
    if (t == "LINK")
        return linkValue;
    if (t.contains(LookupWord))
        return QString::number(cboxData ? cboxData->currentIndex() : -1);
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
        return isChecked() ? "TRUE" : "FALSE";
    if (t == "DATE")
        return dateText();
    if (t == "INTEGER")
        return sbNum && sbNum->isEmpty() ? QString() : QString::asprintf("%d", spinValue());
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
        return !cboxData || cboxData->currentIndex() < 1 ? QString() : cboxData->currentText().section(' ', 0, 0);
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
    return deData ? deData->dateText() : QString();
}

bool inputDataForm::isEmptyInput() const
{
    const QString &t = typeWord;
    if (t == "BOOL")
        return false;
    if (t == "DATE")
        return !deData || deData->isEmpty();
    if (t == "INTEGER")
        return sbNum && sbNum->isEmpty();
    if (t == "IMAGE")
        return imageFile.isEmpty();
    if (t == "PDF")
        return pdfFile.isEmpty();
    if (t == "LINK")
        return linkValue.isEmpty();
    if (t.contains(LookupWord))
        return !cboxData || cboxData->currentIndex() < 1;
    return ui->leData->text().simplified().isEmpty();
}

QString inputDataForm::inputProblem() const
{
    const QString &t = typeWord;
    double number;
    if ((t == "REAL" || t == "MONEY") && !ui->leData->text().trimmed().isEmpty()
        && !readTypedNumber(ui->leData->text(), &number))
        return InvalidNumber;
    if (t == "DATE" && deData && deData->hasInvalidText())
        return QString::asprintf("ERRORE: La data '%s' non è valida!",
                                 deData->text().trimmed().toUtf8().constData());
    return QString();
}

QString inputDataForm::titleText() const
{
    return ui->lbTitle->text();
}

bool inputDataForm::isChecked() const
{
    return cbData && cbData->isChecked();
}

QString inputDataForm::checkBoxText() const
{
    return cbData ? cbData->text() : QString("CheckBox");
}

QString inputDataForm::comboText() const
{
    return cboxData ? cboxData->currentText() : QString();
}

int inputDataForm::spinValue() const
{
    return sbNum ? sbNum->number() : 0;
}

void inputDataForm::setComboIndex(int index)
{
    comboControl()->setCurrentIndex(index);
}

void inputDataForm::setComboText(const QString &text)
{
    comboControl()->setCurrentText(text);
}

void inputDataForm::selectLookupItem(const QString &key)
{
    // Items read "id firstfield"; the last item with that id wins.
    for (int i = 0; cboxData && i < cboxData->count(); ++i) {
        if (cboxData->itemText(i).section(' ', 0, 0) == key)
            cboxData->setCurrentIndex(i);
    }
    if (typeWord.contains(LookupWord))
        rememberShownState();
}

QStringList inputDataForm::comboItems() const
{
    QStringList items;
    for (int i = 0; cboxData && i < cboxData->count(); ++i)
        items << cboxData->itemText(i);
    return items;
}

void inputDataForm::setFilterMode(bool on)
{
    if (on)
        makeFilterButtons();
    if (compareFrame) {
        compareFrame->setVisible(on);
        buttonFrame2->setVisible(on);
    }
}

void inputDataForm::setActive()
{
    active = 0;
    chooseCondition("NoCondition");
}

QString inputDataForm::condition() const
{
    if (!compareFrame)
        return conditionWord;
    if (pbEqual->isChecked())
        return "Equal";
    if (pbDiff->isChecked())
        return "Disequal";
    if (pbMajor->isChecked())
        return "Major";
    if (pbMinor->isChecked())
        return "Minor";
    return "NoCondition";
}

void inputDataForm::setCondition(const QString &word)
{
    chooseCondition(word);
}

void inputDataForm::chooseCondition(const QString &word)
{
    // One condition is always chosen: any other word chooses none.
    static const QStringList words = {"Equal", "Disequal", "Major", "Minor"};
    conditionWord = words.contains(word) ? word : QString("NoCondition");
    if (!compareFrame)
        return;
    // The buttons are auto-exclusive: the checked one cannot be unchecked
    // directly, it clears when another one is checked.
    for (QPushButton *b : {pbEqual, pbMajor, pbMinor, pbNoFilter})
        b->setChecked(false);
    if (word == "Equal")
        pbEqual->setChecked(true);
    else if (word == "Disequal")
        pbDiff->setChecked(true);
    else if (word == "Major")
        pbMajor->setChecked(true);
    else if (word == "Minor")
        pbMinor->setChecked(true);
    else
        pbNoFilter->setChecked(true);
}

QString inputDataForm::connector() const
{
    if (!buttonFrame2)
        return connectorWord;
    if (!pbAnd->isChecked() && pbOr->isChecked())
        return "Or";
    return "And";
}

void inputDataForm::setConnector(const QString &word)
{
    // Any word but exactly "And" or "Or" leaves the previous choice checked.
    if (word == "And" || word == "Or")
        connectorWord = word;
    if (!buttonFrame2)
        return;
    pbAnd->setChecked(false);
    pbOr->setChecked(false);
    if (word == "And")
        pbAnd->setChecked(true);
    else if (word == "Or")
        pbOr->setChecked(true);
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
    c.dateText = dateText();
    c.number = spinValue();
    c.checked = isChecked();
    c.lookupKey = comboText().section(' ', 0, 0);
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
    chooseCondition("Equal");
}

void inputDataForm::cbActivated(int index)
{
    if (index < 1) {
        active = 0;
        chooseCondition("NoCondition");
    } else {
        active = 1;
        chooseCondition("Equal");
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
    numberControl()->stepUp();
}

void inputDataForm::intMinus()
{
    numberControl()->stepDown();
}

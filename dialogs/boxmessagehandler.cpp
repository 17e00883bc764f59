#include "dialogs/boxmessagehandler.h"

#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

namespace {
MessageHandler *installedHandler = nullptr;
}

MessageHandler::~MessageHandler() = default;

MessageHandler *MessageHandler::current()
{
    static BoxMessageHandler boxes;
    return installedHandler ? installedHandler : &boxes;
}

void MessageHandler::install(MessageHandler *handler)
{
    installedHandler = handler;
}

QString MessageHandler::saveFileNameWithChoice(QWidget *parent, const QString &caption, const QString &dir,
                                               const QString &filters, QString *chosen)
{
    *chosen = filters.section(";;", 0, 0);
    return saveFileName(parent, caption, dir, filters);
}

void BoxMessageHandler::warning(const QString &text)
{
    QMessageBox box;
    box.setIcon(QMessageBox::Warning);
    box.setText(text);
    box.exec();
}

void BoxMessageHandler::information(const QString &text)
{
    QMessageBox box;
    box.setIcon(QMessageBox::Information);
    box.setText(text);
    box.exec();
}

bool BoxMessageHandler::question(const QString &text)
{
    QMessageBox box;
    box.setIcon(QMessageBox::Warning);
    box.setText(text);
    // Every question guards something that deletes, empties or may damage
    // data: Return and Esc both answer No, only a deliberate Yes goes ahead.
    QPushButton *no = box.addButton(QMessageBox::No);
    box.addButton(QMessageBox::Yes);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    return box.exec() == QMessageBox::Yes;
}

QString BoxMessageHandler::openFileName(QWidget *parent, const QString &caption, const QString &dir,
                                        const QString &filter)
{
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
}

QStringList BoxMessageHandler::openFileNames(QWidget *parent, const QString &caption,
                                             const QString &dir, const QString &filter)
{
    return QFileDialog::getOpenFileNames(parent, caption, dir, filter);
}

QString BoxMessageHandler::saveFileName(QWidget *parent, const QString &caption, const QString &dir,
                                        const QString &filter)
{
    return QFileDialog::getSaveFileName(parent, caption, dir, filter);
}

QString BoxMessageHandler::folderName(QWidget *parent, const QString &caption, const QString &dir)
{
    return QFileDialog::getExistingDirectory(parent, caption, dir);
}

int BoxMessageHandler::choice(QWidget *parent, const QString &caption, const QString &text, const QStringList &items)
{
    bool chosen = false;
    const QString item = QInputDialog::getItem(parent, caption, text, items, 0, false, &chosen);
    return chosen ? items.indexOf(item) : -1;
}

QString BoxMessageHandler::saveFileNameWithChoice(QWidget *parent, const QString &caption, const QString &dir,
                                                  const QString &filters, QString *chosen)
{
    *chosen = filters.section(";;", 0, 0);
    return QFileDialog::getSaveFileName(parent, caption, dir, filters, chosen);
}

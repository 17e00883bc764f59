// Record list, search and navigation.
#include "app/tessaro.h"
#include "ui_tessaro.h"

void Tessaro::changeToUsersPage()
{
    ui->stPages->setCurrentWidget(ui->userPage);
}

void Tessaro::vwRecord(int id)
{
    currentId = id;
}

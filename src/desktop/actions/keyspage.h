// The page of all keys, as a dialog.

#pragma once

#include <QDialog>

class KeysPageDialog : public QDialog
{
    Q_OBJECT

public:
    explicit KeysPageDialog(QWidget* pParent);
};

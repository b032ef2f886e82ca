// The properties of one stored file, read from its row of the list.
#pragma once

#include "listing/list_row.h"
#include "properties/frm_properties.h"

class frmInfoFile : public frmProperties {
    Q_OBJECT
public:
    explicit frmInfoFile(QWidget *parent = nullptr);

    // Sets every value anew from `row`, and the saving bar.
    void ShowRow(const ListRow &row);

    QLabel *lblName = nullptr;
    QLabel *lblType = nullptr;
    QLabel *lblSize = nullptr;
    QLabel *lblCompress = nullptr;
    QLabel *lblRatio2 = nullptr;
    QLabel *lblAttibutes = nullptr;
    QLabel *lblPath = nullptr;

private:
    void ApplyTexts();
};

#include "data/Array.h"
#include "data/blocks/TextBlock.h"
#include "examples/tour/Tour.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "shell/base/Strings.h"
#include "ui/Dialog.h"

#include <cstring>
#include <string>
#include <vector>

// A dialog that asks for a table, one of its fields and what is to be made of it.

namespace {

constexpr short dialogStrings = 15003; // what the dialog says
constexpr short calculationNames = 15002;
constexpr short chooseTableMessage = 1;
constexpr short chooseFieldMessage = 2;
constexpr short fieldsOfMessage = 3;

enum Calculation : long { Sum = 1, Average = 2, Count = 3 };

/// What the user decided.
struct Choice {
    Str255 field = {}; ///< "[Table]Field"
    long calculation = Sum;
    double factor = 1;
};

/// The tables that the calling database offers: its text array TourTables, when there is one.
std::vector<std::string> OfferedTables() {
    std::vector<std::string> tables;
    CArray array;
    Str255 name;
    _CopyC2PStr("TourTables", name);
    if (FourD::GetArrayVar(name, &array) == ResultCode::NoError && array.IsArrayText()) {
        for (long index = 1; index <= array.GetArraySize(); ++index) {
            CTextBlock* text = nullptr;
            array.At(index, &text);
            if (text == nullptr || text->GetLength() < 0) {
                break;
            }
            std::string table(static_cast<std::size_t>(text->GetLength()) + 1, '\0');
            text->CopyTo(table.data());
            tables.emplace_back(table.c_str());
        }
    }
    array.Forget(); // the storage is the host's
    return tables;
}

class TableDialog : public SXDialog {
  public:
    explicit TableDialog(Choice& itsChoice) : SXDialog("Totals", 0), choice(itsChoice) {}

    void HandleItemHit(char* objectName, unsigned char* done, unsigned char* cancelled) override;
    void PostLoadData() override;
    void UnloadData() override;

  private:
    void ShowFields();
    void Refuse(short message, unsigned char* done) const;
    long Chosen(const char* list) const { return FourDDialog::GetLongVar(dialog, list); }

    Choice& choice;
};

void TableDialog::PostLoadData() {
    // The caller's variables are out of sight while the dialog is current.
    const auto saved = FourDDialog::SwitchTo4DContext(dialog);
    const std::vector<std::string> tables = OfferedTables();
    FourDDialog::SwitchToDlogContext(dialog, saved);

    FourDDialog::BeginUpdateVars(dialog);
    if (tables.empty()) {
        FourDDialog::LoadTextArrayFromTableNames(dialog, "tables", 1);
    } else {
        FourDDialog::NewArrayText(dialog, "tables");
        for (std::size_t place = 0; place < tables.size(); ++place) {
            FourDDialog::SetArrayElement(dialog, "tables", static_cast<long>(place) + 1,
                                         tables[place].c_str());
        }
    }
    FourDDialog::NewArrayText(dialog, "fields");
    FourDDialog::LoadTextArrayFromResource(dialog, "calculations", calculationNames);
    FourDDialog::SetLongVar(dialog, "calculations", choice.calculation);
    FourDDialog::SetNativeRealVar(dialog, "factor", choice.factor);
    FourDDialog::SetNumVarMinMax(dialog, "factor", 0, 1000);
    FourDDialog::SetVarEnabled(dialog, "fields", 0);
    FourDDialog::EndUpdateVars(dialog);
}

void TableDialog::HandleItemHit(char* objectName, unsigned char* done, unsigned char* cancelled) {
    if (std::strcmp(objectName, "tables") == 0) {
        ShowFields();
    }
    if (*done == 0 || *cancelled != 0) {
        return;
    }
    if (Chosen("tables") == 0) {
        Refuse(chooseTableMessage, done);
    } else if (Chosen("fields") == 0) {
        Refuse(chooseFieldMessage, done);
    }
}

void TableDialog::Refuse(short message, unsigned char* done) const {
    FourD::AlertV6(dialogStrings, message);
    *done = 0;
}

/// The fields of the table that is chosen.
void TableDialog::ShowFields() {
    char table[256];
    FourDDialog::GetArrayElement(dialog, "tables", Chosen("tables"), table);
    Str255 reference;
    _CopyC2PStr(("[" + std::string(table).substr(0, 250) + "]").c_str(), reference);
    short number = 0;
    short field = 0;
    FourD::GetFileFieldNum(reference, &number, &field);
    FourDDialog::LoadTextArrayFromFieldNames(dialog, "fields", number, 1);
    FourDDialog::SetVarEnabled(dialog, "fields", number != 0 ? 1 : 0);

    char format[256];
    FourD::GetPluginIndCString(format, dialogStrings, fieldsOfMessage);
    FourDDialog::SetObjTitle(dialog, "fieldsTitle", (format + std::string(table)).c_str());
}

void TableDialog::UnloadData() {
    char table[256];
    char field[256];
    FourDDialog::GetArrayElement(dialog, "tables", Chosen("tables"), table);
    FourDDialog::GetArrayElement(dialog, "fields", Chosen("fields"), field);
    const std::string name = "[" + std::string(table) + "]" + field;
    _CopyC2PStr(name.substr(0, 255).c_str(), choice.field);
    choice.calculation = Chosen("calculations");
    choice.factor = FourDDialog::GetNativeRealVar(dialog, "factor");
}

/// The calculation over the field of all selected records.
double Calculate(const Choice& choice, short table, short field) {
    long count = 0;
    FourD::RecordsInSelection(table, &count);
    double sum = 0;
    for (long n = 1; n <= count; ++n) {
        ValueBlock value{};
        double number = 0;
        if (FourD::GotoSelectedRecord(table, n, 0, 0) == ResultCode::NoError &&
            FourD::GetFieldData(table, field, &value) == ResultCode::NoError) {
            Value2NativeReal(&value, &number);
            FreeValueBlock(&value);
        }
        sum += number;
    }
    switch (choice.calculation) {
    case Average:
        return count == 0 ? 0 : sum / static_cast<double>(count) * choice.factor;
    case Count:
        return static_cast<double>(count);
    default:
        return sum * choice.factor;
    }
}

} // namespace

namespace Tour {

void AskForTotal(CXParam* params, CXResult* result) {
    Choice choice;
    REAL_U total{};
    bool accepted = false;
    {
        TableDialog dialog(choice);
        accepted = dialog.Open(nullptr, "Totals of a table", 0) && dialog.EventLoop(nullptr);
    }
    short table = 0;
    short field = 0;
    if (accepted && FourD::GetFileFieldNum(choice.field, &table, &field) == ResultCode::NoError) {
        total.value = Calculate(choice, table, field);
    }
    params[0].SetString(choice.field);
    result->SetExtended(&total);
}

} // namespace Tour

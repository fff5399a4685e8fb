#include "data/blocks/TextBlock.h"
#include "examples/tour/Tour.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"

#include <cstdlib>

// Values of whatever type the database developer has, formatted and converted as the host does it.

namespace Tour {

void FormatValue(CXParam* params, CXResult* result) {
    Value2String(params[0].GetVarRecPtr(), result->GetStringPtr(), params[1].GetStringPtr());
}

void ValueToText(CXParam* params, CXResult* result) {
    Value2Text(params[0].GetVarRecPtr(), result->GetTextBlockPtr(), params[1].GetStringPtr());
}

void ValueToLong(CXParam* params, CXResult* result) {
    long number = 0;
    Value2Long(params[0].GetVarRecPtr(), &number);
    result->SetLong(number);
}

void ValueToReal(CXParam* params, CXResult* result) {
    REAL_U real;
    Value2REAL(params[0].GetVarRecPtr(), &real);
    result->SetExtended(&real);
}

void ValueToDate(CXParam* params, CXResult* result) {
    DateBlock date;
    Value2Date(params[0].GetVarRecPtr(), &date);
    result->SetDate4D(&date);
}

void ValueToBoolean(CXParam* params, CXResult* result) {
    unsigned char boolean = 0;
    Value2Boolean(params[0].GetVarRecPtr(), &boolean);
    result->SetBoolean(boolean);
}

void CopyValue(CXParam* params, CXResult* result) {
    result->SetShort(
        static_cast<short>(CoerseValueBlock(params[0].GetVarRecPtr(), params[1].GetVarRecPtr())));
}

void SetValue(CXParam* params, CXResult* result) {
    ValueBlock* const value = params[0].GetVarRecPtr();
    TextBlock* const text = params[1].GetTextBlockPtr();
    long error = Text2ValueBlock(text, value);
    if (error == ResultCode::UnsupportedConversion) { // no text, so perhaps a number
        ValueBlock source{};
        source.type = ValueType::Text;
        source.text = *text; // stays the parameter's
        double number = 0;
        Value2NativeReal(&source, &number);
        error = NativeReal2ValueBlock(number, value);
    }
    result->SetShort(static_cast<short>(error));
}

void ToMacintosh(CXParam* params, CXResult* result) {
    FourD::AnsiToMacPString(params[0].GetStringPtr(), result->GetStringPtr());
}

} // namespace Tour

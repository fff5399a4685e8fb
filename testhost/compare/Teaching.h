#pragma once

#include "testhost/compare/Asked.h"

#include <string>

// How the stand-in host is taught the facts of a recording, see Fact. All answer whether it knows
// anything now that it did not.

namespace Teaching {
// --- Data -------------------------------------------------------------------------------------
std::string VariableSubject(const AskedCall& call);
std::string SharedVariableSubject(const AskedCall& call);
bool Variable(AskedCall& call);
bool SharedVariable(AskedCall& call);

std::string SelectionSubject(const AskedCall& call);
std::string FieldSubject(const AskedCall& call);
bool SelectedRecords(AskedCall& call);
bool SelectedPlace(AskedCall& call);
bool CurrentRecord(AskedCall& call);
bool RecordToGoTo(AskedCall& call);
bool PlaceToGoTo(AskedCall& call);
bool FieldData(AskedCall& call);
bool PackedRecord(AskedCall& call);
bool RefusedRecord(AskedCall& call);

// --- Dialogs and boxes --------------------------------------------------------------------------
std::string DialogVariableSubject(const AskedCall& call);
std::string DialogSubject(const AskedCall& call);
std::string ListSubject(const AskedCall& call); // all rows
bool Form(AskedCall& call);
bool UsersTurn(AskedCall& call);
bool DialogVariable(AskedCall& call);
bool DialogLong(AskedCall& call);
bool DialogReal(AskedCall& call);
bool DialogString(AskedCall& call);
bool DialogDate(AskedCall& call);
bool DialogText(AskedCall& call);
bool DialogTime(AskedCall& call);
bool DialogPage(AskedCall& call);
bool LastObject(AskedCall& call);
bool ChosenField(AskedCall& call);
bool Confirmation(AskedCall& call);
bool EditedFormula(AskedCall& call);
bool EditedPicture(AskedCall& call);

// --- Processes, windows, the machine -------------------------------------------------------------
std::string ProgramSubject(const AskedCall& call);
std::string ProcessSubject(const AskedCall& call);
bool Program(AskedCall& call);
bool ProcessState(AskedCall& call);
bool ProcessNumber(AskedCall& call);
bool Dying(AskedCall& call);
bool Event(AskedCall& call);
bool FreeStack(AskedCall& call);
bool HostFolder(AskedCall& call);
bool Window(AskedCall& call);
bool WindowsProcess(AskedCall& call);
bool WindowsFocus(AskedCall& call);
bool Focus(AskedCall& call);
bool Focusable(AskedCall& call);
bool CommandName(AskedCall& call);
bool MethodNumber(AskedCall& call);
bool Method(AskedCall& call);
bool Tips(AskedCall& call);
bool Printer(AskedCall& call);
} // namespace Teaching

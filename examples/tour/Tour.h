#pragma once

#include "shell/FourDPlug.h"

/// Tour: an example plug-in. Each command shows one way to take parameters or to give a result,
/// on something that a database developer could use. Tour.cpp lists them with their parameters.
class TourPlug : public FourDPlug {
  public:
    TourPlug();

    void BigInit() override;
    void HandleCommand(long command, CXParam* params, CXResult* result) override;
    bool CommandNeedsBigInit(long command, CXParam* params, CXResult* result) override;
    // The server's copy at the service of the clients' (ServerCommands.cpp).
    void DoProcOnServer(FourDClient* client, short kind, char** data) override;
    void DoFuncOnServer(FourDClient* client, short kind, char** data, char*** result) override;
    bool TrackClientsOnServer() override;
};

namespace Tour {

// Texts
void CountWords(CXParam* params, CXResult* result);
void UpperText(CXParam* params, CXResult* result);
void Checksum(CXParam* params, CXResult* result);
void BlobChecksum(CXParam* params, CXResult* result);
void Initials(CXParam* params, CXResult* result);
void ProperCase(CXParam* params, CXResult* result);
void Base64EncodeText(CXParam* params, CXResult* result);
void Base64DecodeText(CXParam* params, CXResult* result);
void SetLineEndings(CXParam* params, CXResult* result);
void ReplaceInText(CXParam* params, CXResult* result);
/// After an error a text claims bytes that it could not get: it is emptied.
void EmptyAfter(long error, CTextBlock& text);
/// Fills the table that both checksums look up.
void PrepareChecksums();

// Dates
/// Whether the host's calendar has it; the empty date is none.
bool IsDate(const DateBlock& date);
void Weekday(CXParam* params, CXResult* result);
void NextWorkday(CXParam* params, CXResult* result);
void OrderDates(CXParam* params, CXResult* result);

// Numbers
void Clamp(CXParam* params, CXResult* result);
void RoundReal(CXParam* params, CXResult* result);
void Percent(CXParam* params, CXResult* result);

// Rectangles, events and pictures
void RectParts(CXParam* params, CXResult* result);
void DescribeEvent(CXParam* params, CXResult* result);
void BlankPicture(CXParam* params, CXResult* result);
void PictureWidth(CXParam* params, CXResult* result);

// Values, arrays and pointers
void DescribeValue(CXParam* params, CXResult* result);
void SumLongs(CXParam* params, CXResult* result);
void SwapLongs(CXParam* params, CXResult* result);

// Arrays of the host's, by name
void SortArray(CXParam* params, CXResult* result);
void TimesTable(CXParam* params, CXResult* result);

// Values converted and formatted
void FormatValue(CXParam* params, CXResult* result);
void ValueToText(CXParam* params, CXResult* result);
void ValueToLong(CXParam* params, CXResult* result);
void ValueToReal(CXParam* params, CXResult* result);
void ValueToDate(CXParam* params, CXResult* result);
void ValueToBoolean(CXParam* params, CXResult* result);
void CopyValue(CXParam* params, CXResult* result);
void SetValue(CXParam* params, CXResult* result);
void ToMacintosh(CXParam* params, CXResult* result);

// Resources and what the host knows
void Message(CXParam* params, CXResult* result);
void WeekdayName(CXParam* params, CXResult* result);
void ExpandReference(CXParam* params, CXResult* result);
void ColourParts(CXParam* params, CXResult* result);
void HeadingFont(CXParam* params, CXResult* result);
void HostFolder(CXParam* params, CXResult* result);

// Statements, records, processes and messages
void Evaluate(CXParam* params, CXResult* result);
void Execute(CXParam* params, CXResult* result);
void SelectAll(CXParam* params, CXResult* result);
void SumField(CXParam* params, CXResult* result);
void ChangeField(CXParam* params, CXResult* result);
void StartWorker(CXParam* params, CXResult* result);
void Tell(CXParam* params, CXResult* result);
void Ask(CXParam* params, CXResult* result);

// Files
void SaveValues(CXParam* params, CXResult* result);
void LoadValues(CXParam* params, CXResult* result);

void WriteTextSafely(CXParam* params, CXResult* result);
void LongPath(CXParam* params, CXResult* result);

// Carried out by the server's copy
void WhoAmI(CXParam* params, CXResult* result);
void ServerSum(CXParam* params, CXResult* result);
void LogOnServer(CXParam* params, CXResult* result);

// The plug-in itself
void ListFolders(CXParam* params, CXResult* result);
void ListVersions(CXParam* params, CXResult* result);
void StartTrace(CXParam* params, CXResult* result);
void StopTrace(CXParam* params, CXResult* result);

// Dialogs
void AskForTotal(CXParam* params, CXResult* result);

// An external area: its events, and a dialog with one
void Chart(CXParam* params, CXResult* result);
void ShowChart(CXParam* params, CXResult* result);

} // namespace Tour

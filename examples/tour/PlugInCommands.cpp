#include "data/blocks/TextBlock.h"
#include "examples/tour/Tour.h"
#include "shell/base/DebugTrace.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "shell/Entry.h"

namespace {

/// Adds "label: text" as a line.
void AppendLine(CTextBlock& text, const char* label, const char* line) {
    for (const char* const part : {label, ": ", line, "\n"}) {
        Tour::EmptyAfter(text.Append(part), text);
    }
}

/// Adds a folder's path, or the result code that there is instead.
void AppendFolder(CTextBlock& text, const char* label, OSErr error, const char* path) {
    char code[16];
    FormatText(code, sizeof code, "error %d", error);
    AppendLine(text, label, error == 0 ? path : code);
}

} // namespace

namespace Tour {

void ListFolders(CXParam*, CXResult* result) {
    CTextBlock& text = *result->GetCTextBlockPtr();
    text.SetLength(0);
    char path[1041] = "";
    AppendLine(text, "library", LibraryFolder());
    FSSpec makers;
    FourDPlug::GetTarnwellFolderSpec(&makers, 1); // the path's form would not make it
    OSErr error = FourDPlug::GetTarnwellFolderPathWin(path);
    AppendFolder(text, "makers", error, path);
    error = FourDPlug::GetLogsFolderPath(path, sizeof path);
    AppendFolder(text, "logs", error, path);
    error = gFourDPlug->GetTempFolderPath(path, sizeof path, 1);
    AppendFolder(text, "temporary", error, path);
    error = gFourDPlug->GetTempFilePath(path, sizeof path, "draft", "txt");
    AppendFolder(text, "next draft", error, path);
}

void ListVersions(CXParam*, CXResult* result) {
    CTextBlock& text = *result->GetCTextBlockPtr();
    text.SetLength(0);
    char line[256];
    gFourDPlug->GetProductFullNameC(line);
    AppendLine(text, "name", line);
    gFourDPlug->GetProductVersionCString(line);
    AppendLine(text, "version", line);
    gFourDPlug->Get4DStyleVersionC(line);
    AppendLine(text, "packed", line);
}

void StartTrace(CXParam* params, CXResult*) {
    char path[256];
    _CopyP2CStr(params[0].GetStringPtr(), path);
    _DbgInit(params[1].GetLong(), DebugOutput::File, path);
}

void StopTrace(CXParam*, CXResult*) {
    _DbgDeinit();
}

} // namespace Tour

// What the host does with tables in its language only: apart from formulas, because whoever needs
// one of those would bring the calls for tables along.

#include "host/Formulas.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

namespace {

/// Numbers of the host's commands.
namespace Command {
constexpr short AllRecords = 47;
constexpr short DeleteRecord = 58;
constexpr short RecordsInFile = 83;
constexpr short SequenceNumber = 244;
} // namespace Command

/// Builds "command([table])", of the table's name at most 31 characters, and hands it to `use`,
/// which answers a result code. The table's result code, or -1 when the host does not name the
/// command.
template <typename Use>
OSErr WithTableStatement(short command, short table, Use use) {
    char tableName[256];
    char commandName[256];
    OSErr error = FourD::GetFileNameC(table, tableName);
    if (error == ResultCode::NoError) {
        error = NameOfCommand(command, commandName);
    }
    if (error != ResultCode::NoError) {
        return error;
    }
    char statement[256];
    FormatText(statement, sizeof statement, "%s([%.31s])", commandName, tableName);
    return use(statement);
}

OSErr ExecuteForTable(short command, short table) {
    return WithTableStatement(command, table,
                              [](const char* statement) { return FourD::ExecProc(statement); });
}

OSErr EvaluateForTable(short command, short table, long* value) {
    if (value == nullptr) {
        return ResultCode::BadParameter;
    }
    *value = 0;
    return WithTableStatement(command, table, [value](const char* statement) {
        Str255 expression;
        _CopyC2PStr(statement, expression);
        REAL_U real{};
        const OSErr error = FourD::ExecFunc(expression, &real);
        *value = REALToLong(real); // whatever the result
        return error;
    });
}

} // namespace

OSErr FourD::SequenceNumber(short table, long* value) {
    return EvaluateForTable(Command::SequenceNumber, table, value);
}

OSErr FourD::RecordsInFile(short table, long* value) {
    return EvaluateForTable(Command::RecordsInFile, table, value);
}

OSErr FourD::AllRecords(short table) {
    return ExecuteForTable(Command::AllRecords, table);
}

OSErr FourD::DeleteRecord(short table) {
    return ExecuteForTable(Command::DeleteRecord, table);
}

#include "examples/tour/Tour.h"

#include "PluginVersion.h"
#include "shell/base/DebugTrace.h"

#include <iterator>

namespace {

// Parameters that a command changes are marked with "&".
constexpr CommandEntry Commands[] = {
    {"Count words", "(text) -> long", Tour::CountWords},
    {"Upper text", "(text; &boolean changed) -> text", Tour::UpperText},
    {"Checksum", "(text) -> long", Tour::Checksum},
    {"Blob checksum", "(handle) -> long", Tour::BlobChecksum},
    {"Initials", "(string) -> string", Tour::Initials},
    {"Proper case", "(&string)", Tour::ProperCase},
    {"Weekday", "(date) -> string", Tour::Weekday},
    {"Next workday", "(date; long days) -> date", Tour::NextWorkday},
    {"Order dates", "(&date; &date) -> boolean", Tour::OrderDates},
    {"Clamp", "(&real; real low; real high) -> boolean", Tour::Clamp},
    {"Round", "(extended; short digits) -> extended", Tour::RoundReal},
    {"Percent", "(real part; real whole) -> short", Tour::Percent},
    {"Rect parts", "(rect; &short width; &short height; &long area)", Tour::RectParts},
    {"Describe event", "(event) -> string", Tour::DescribeEvent},
    {"Blank picture", "(rect) -> picture", Tour::BlankPicture},
    {"Picture width", "(picture) -> short", Tour::PictureWidth},
    {"Describe value", "(value) -> string", Tour::DescribeValue},
    {"Sum longs", "(array long) -> long", Tour::SumLongs},
    {"Swap longs", "(pointer long; pointer long) -> boolean", Tour::SwapLongs},
    {"Base64 encode", "(text) -> text", Tour::Base64EncodeText},
    {"Base64 decode", "(text) -> text", Tour::Base64DecodeText},
    {"Set line endings", "(text; string CR, LF or CRLF) -> text", Tour::SetLineEndings},
    {"Replace", "(&text; string search; text replacement) -> long count", Tour::ReplaceInText},
    {"Save values", "(string path; long; short; date; string; text; handle) -> short error",
     Tour::SaveValues},
    {"Load values", "(string path; &long; &short; &date; &string; &text; &handle) -> short error",
     Tour::LoadValues},
    {"Write text safely", "(string path; text) -> short error", Tour::WriteTextSafely},
    {"Long path", "(string path) -> string", Tour::LongPath},
    {"List folders", "() -> text", Tour::ListFolders},
    {"List versions", "() -> text", Tour::ListVersions},
    {"Start trace", "(string path; long level)", Tour::StartTrace},
    {"Stop trace", "()", Tour::StopTrace},
    {"Format value", "(value; string format) -> string", Tour::FormatValue},
    {"Value to text", "(value; string format) -> text", Tour::ValueToText},
    {"Value to long", "(value) -> long", Tour::ValueToLong},
    {"Value to real", "(value) -> extended", Tour::ValueToReal},
    {"Value to date", "(value) -> date", Tour::ValueToDate},
    {"Value to boolean", "(value) -> boolean", Tour::ValueToBoolean},
    {"Copy value", "(value; &value) -> short error", Tour::CopyValue},
    {"Set value", "(&value; text) -> short error", Tour::SetValue},
    {"To Macintosh", "(string) -> string in the Macintosh character set", Tour::ToMacintosh},
    {"Message", "(short number; long; long) -> string", Tour::Message},
    {"Weekday name", "(short number) -> string", Tour::WeekdayName},
    {"Expand reference", "(string) -> string", Tour::ExpandReference},
    {"Colour parts", "(long colour; &long red; &long green; &long blue) -> short error",
     Tour::ColourParts},
    {"Heading font", "() -> string", Tour::HeadingFont},
    {"Host folder", "(long kind) -> string", Tour::HostFolder},
    {"Evaluate", "(text expression) -> text", Tour::Evaluate},
    {"Execute", "(text statement) -> short error", Tour::Execute},
    {"Select all", "(string table) -> long count", Tour::SelectAll},
    {"Sum field", "(string [Table]Field) -> extended", Tour::SumField},
    {"Change field", "(string [Table]Field; long selected; value) -> short error",
     Tour::ChangeField},
    {"Start worker", "(string name; long rounds) -> long process", Tour::StartWorker},
    {"Tell", "(string)", Tour::Tell},
    {"Ask", "(string) -> boolean", Tour::Ask},
    {"Who am I", "() -> text", Tour::WhoAmI},
    {"Server sum", "(string [Table]Field; &real) -> short error", Tour::ServerSum},
    {"Log on server", "(string) -> short error", Tour::LogOnServer},
    {"Ask for total", "(&string [Table]Field) -> extended", Tour::AskForTotal},
    {"Chart", "area of a host's form", Tour::Chart},
    {"Show chart", "(string title) -> boolean validated", Tour::ShowChart},
    {"Sort array", "(string array variable) -> short error", Tour::SortArray},
    {"Times table", "(string variable; long rows; long columns) -> short error", Tour::TimesTable},
};

constexpr OSType Creator = 0x546F7572; // 'Tour'

PlugInfo plugInfo = {
    .reserved = 0,
    .recordVersion = 1,
    .recordSize = sizeof(PlugInfo),
    .productName = PluginName,
    .creator = Creator,
    .version = PluginVersion,
    .resourceID = 0,
    .resourceFile = 0,
    .spare = 0,
    .commandCount = std::size(Commands),
    .commands = Commands,
};

/// Indents the trace by one level while it lives.
class DeeperTrace {
  public:
    DeeperTrace() : before(gDebugSettings.indentation++) {}
    ~DeeperTrace() { gDebugSettings.indentation = before; }
    DeeperTrace(const DeeperTrace&) = delete;
    DeeperTrace& operator=(const DeeperTrace&) = delete;

  private:
    long before;
};

TourPlug tour;

} // namespace

FourDPlug* gFourDPlug = &tour;

TourPlug::TourPlug() : FourDPlug(&plugInfo) {}

void TourPlug::BigInit() {
    Tour::PrepareChecksums();
}

// A trace shows every command, with whatever it traces itself indented beneath.
void TourPlug::HandleCommand(long command, CXParam* params, CXResult* result) {
    _DbgTraceVL(1, "%s\n", Commands[command - 1].name);
    const DeeperTrace deeper;
    FourDPlug::HandleCommand(command, params, result);
}

bool TourPlug::CommandNeedsBigInit(long command, CXParam*, CXResult*) {
    const CommandHandler handler = Commands[command - 1].handler;
    return handler == Tour::Checksum || handler == Tour::BlobChecksum;
}

bool TourPlug::TrackClientsOnServer() {
    return true;
}

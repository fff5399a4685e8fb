#include "testhost/session/TranscriptOutput.h"

#include <algorithm>

#include <windows.h>

template <typename Write>
auto TimedOutput::Timed(Write write) {
    const DWORD before = GetTickCount();
    progress.isWriting = true;
    const auto result = write();
    progress.began += GetTickCount() - before;
    progress.isWriting = false;
    return result;
}

std::streamsize TimedOutput::xsputn(const char* text, std::streamsize count) {
    return Timed([&] { return target.sputn(text, count); });
}

TimedOutput::int_type TimedOutput::overflow(int_type character) {
    return Timed([&] { return target.sputc(traits_type::to_char_type(character)); });
}

int TimedOutput::sync() {
    return Timed([&] { return target.pubsync(); });
}

Transcript TranscriptOutput::Open() {
    Transcript transcript(screen, settings.quiet);
    transcript.hasColors = settings.hasColors;
    if (!settings.file.empty()) {
        file = OpenTranscript(settings.file, goesOn);
        transcript.file = &whole;
        transcript.fileBytes =
            static_cast<unsigned long long>(std::max<long long>(file.tellp(), 0));
    }
    return transcript;
}

#include "tools/DemoTraffic.h"

#include "logging/LogLevel.h"
#include "logging/TimestampText.h"

#include <array>
#include <charconv>
#include <string_view>

namespace zuLogging {

namespace {

struct Place
{
    std::string_view group;
    std::string_view file;
};

struct Module
{
    std::string_view name;
    std::uint64_t processes; ///< how many processes of it run
    std::uint64_t threads;   ///< in each of them
    std::array<Place, 3> places;
};

constexpr std::array<Module, 8> modules{{
    {"AcquisitionServer",
     1,
     6,
     {{{"Trigger", "TriggerQueue.cpp:"},
       {"Buffer", "RingBuffer.cpp:"},
       {"Timing", "ClockSync.cpp:"}}}},
    {"DeviceManager",
     1,
     4,
     {{{"Discovery", "UsbDiscovery.cpp:"},
       {"Firmware", "FirmwareUpdate.cpp:"},
       {"Power", "PowerBudget.cpp:"}}}},
    {"StorageAgent",
     2,
     3,
     {{{"Journal", "JournalWriter.cpp:"},
       {"Index", "IndexMerge.cpp:"},
       {"Quota", "QuotaWatch.cpp:"}}}},
    {"NetworkGateway",
     1,
     8,
     {{{"Session", "SessionTable.cpp:"},
       {"Routing", "RouteCache.cpp:"},
       {"TLS", "Handshake.cpp:"}}}},
    {"Scheduler",
     1,
     2,
     {{{"Jobs", "JobList.cpp:"}, {"Calendar", "Calendar.cpp:"}, {"Worker", "WorkerPool.cpp:"}}}},
    {"UserInterface",
     3,
     2,
     {{{"Window", "MainWindow.cpp:"},
       {"Input", "InputFilter.cpp:"},
       {"Paint", "PlotCanvas.cpp:"}}}},
    {"LicenseService",
     1,
     2,
     {{{"Lease", "LeaseStore.cpp:"}, {"Clock", "ClockGuard.cpp:"}, {"Audit", "AuditTrail.cpp:"}}}},
    {"ReportBuilder",
     2,
     3,
     {{{"Layout", "PageLayout.cpp:"}, {"Export", "PdfExport.cpp:"}, {"Font", "FontCache.cpp:"}}}},
}};

/// A text with a number between its two halves.
struct Phrase
{
    std::string_view before;
    std::string_view after;
};

constexpr std::array<Phrase, 14> quietPhrases{{
    {"Block ", " written, checksum verified, next one requested from the queue"},
    {"Heartbeat ", " answered"},
    {"Opened session ", " for the local client; idle limit 300 s, compression off"},
    {"Cache holds ", " entries after clean-up"},
    {"Worker took job ", " from the queue, priority normal, 3 attempts left"},
    {"Configuration version ", " is in use; no restart needed"},
    {"Messung ", " abgeschlossen: Größe geprüft, Übertragung läuft"},
    {"Gerät ", " über die serielle Schnittstelle gefunden, Prüfsumme gültig"},
    {"Η μέτρηση ", " ολοκληρώθηκε χωρίς σφάλματα"},
    {"Σύνδεση ", " άνοιξε, αναμονή για δεδομένα"},
    {"測定 ", " が完了しました。データを保存しています"},
    {"接続 ", " を開始しました"},
    {"Upload ", " finished 🚀 all parts acknowledged"},
    {"Calibration ", " 🔧 within limits, offset 0.02 µm, gain 1.0004"},
}};

constexpr std::array<Phrase, 5> warningPhrases{{
    {"Queue is at ", " entries, above its high-water mark; the producer is slowed down"},
    {"Antwort ", " kam verspätet, wird trotzdem übernommen"},
    {"Η μνήμη πλησιάζει το όριο: ", " MiB ελεύθερα"},
    {"応答が遅れています: ", " ミリ秒"},
    {"Disk space low ⚠️ ", " MiB left on the data volume"},
}};

constexpr std::array<Phrase, 4> errorPhrases{{
    {"Request ", " failed: the peer closed the connection before the answer was complete"},
    {"Schreibfehler in Block ", ": Gerät nicht bereit"},
    {"Αποτυχία εγγραφής στο αρχείο ", ""},
    {"デバイス ", " が応答しません"},
}};

constexpr std::string_view detail =
    "; the values behind this: first=17, last=4211, pending=3, retries=0, window=64, latency=412 "
    "µs, jitter=9 µs";

LogLevel levelFor(std::uint64_t perThousand)
{
    if (perThousand < 420)
        return LogLevel::Info;
    if (perThousand < 680)
        return LogLevel::Trace;
    if (perThousand < 930)
        return LogLevel::Debug;
    if (perThousand < 980)
        return LogLevel::Warn;
    if (perThousand < 998)
        return LogLevel::Err;
    return LogLevel::Fatal;
}

template <std::size_t Size>
const Phrase& phraseOf(const std::array<Phrase, Size>& phrases, std::uint64_t choice)
{
    return phrases[choice % Size];
}

const Phrase& phraseFor(LogLevel level, std::uint64_t choice)
{
    switch (level) {
    case LogLevel::Warn:
        return phraseOf(warningPhrases, choice);
    case LogLevel::Err:
    case LogLevel::Fatal:
        return phraseOf(errorPhrases, choice);
    default:
        return phraseOf(quietPhrases, choice);
    }
}

void appendNumber(std::string& text, std::uint64_t number)
{
    std::array<char, 20> digits;
    const auto [end, failure] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    static_cast<void>(failure); // 20 digits hold every 64-bit number
    text.append(digits.data(), end);
}

} // namespace

DemoTraffic::DemoTraffic(std::uint64_t seed)
    : random_(seed)
    , processBase_(1000 + below(20000))
{
    message_.module.emplace();
    message_.groupName.emplace();
    message_.logPos.emplace();
    message_.logMessage.emplace();
}

const LogMessageContainerBuilder& DemoTraffic::next()
{
    const std::uint64_t moduleIndex = below(modules.size());
    const Module& module = modules[moduleIndex];
    const Place& place = module.places[below(module.places.size())];
    const LogLevel level = levelFor(below(1000));
    const Phrase& phrase = phraseFor(level, below(1000));

    ++message_.sourceMsgId;
    message_.module->assign(module.name);
    message_.groupName->assign(place.group);
    message_.logPos->assign(place.file);
    appendNumber(*message_.logPos, 20 + below(900));
    message_.logLevel = static_cast<std::uint64_t>(level);

    // Numbers far enough apart that no two modules share a process, nor two processes a thread.
    const std::uint64_t process = processBase_ + 40 * moduleIndex + 10 * below(module.processes);
    message_.processId = process;
    message_.threadId = process + below(module.threads);

    std::string& text = *message_.logMessage;
    text.assign(phrase.before);
    appendNumber(text, below(100000));
    text.append(phrase.after);
    const std::uint64_t details = below(16) == 0 ? 1 + below(2) : 0;
    for (std::uint64_t i = 0; i < details; ++i)
        text.append(detail);

    message_.timestamp = currentTimestamp();
    return message_;
}

} // namespace zuLogging

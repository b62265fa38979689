#include "tools/dtcctl/adapter_check/checks.h"
#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/text.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>

namespace dtcctl {
namespace {

struct AdapterOptions
{
    std::string file;
    std::string address = "0x7F000001";
    std::string service = "dtc_io";
    unsigned int deadlineS = 10;
    bool json = false;
};

/// What a process that has loaded the library tells of it.
struct Survey
{
    bool isLoaded;
    bool has[entryNames.size()];
    bool hasStatus; ///< It has answered.
    int status;
    bool hasVersion;
    char version[200];
    char path[PATH_MAX];
    char error[1000];
};

template <std::size_t size>
void store(char (&target)[size], std::string const& text)
{
    std::snprintf(target, size, "%s", text.c_str());
}

void survey(Survey& result, std::string const& file, AdapterLibrary& library)
{
    result.isLoaded = library.load(file);
    store(result.error, library.error());
    if (!result.isLoaded)
        return;
    store(result.path, library.path());
    for (std::size_t i = 0; i < entryNames.size(); ++i)
        result.has[i] = library.has(static_cast<Entry>(i));
    if (library.has(Entry::GetVersion)) {
        char const* const version = library.call<Entry::GetVersion>();
        store(result.version, version == nullptr ? "" : version);
        result.hasVersion = version != nullptr;
    }
    if (library.has(Entry::GetStatus)) {
        result.status = library.call<Entry::GetStatus>();
        result.hasStatus = true;
    }
}

/// By Result and by Stage.
constexpr char const* resultNames[] = {"ok", "warning", "skipped", "failed"};
constexpr char const* reasonsWithout[] = {"", "it does not serve", "it lets nobody connect",
                                          "it carries no message"};

class Checking
{
public:
    explicit Checking(AdapterOptions const& options)
        : m_options(options), m_subject{options.file, options.address, options.service,
                                        std::chrono::seconds(options.deadlineS)}
    {
        bool const isName = m_subject.file.find('/') == std::string::npos;
        std::error_code error;
        if (isName && std::filesystem::exists(m_subject.file, error))
            m_subject.file.insert(0, "./");
    }

    void run()
    {
        Finding const surveyed = surveyLibrary();
        if (!m_options.json)
            printSurvey();
        add("every entry point is there; one of the two that send is enough", missingEntries());
        add("it tells its version and its status", surveyed);
        for (Check const& check : adapterChecks())
            add(check.rule, runCheck(check));
        if (m_options.json)
            printJson();
        else
            std::printf("%u ok, %u failed, %u skipped, %u warnings\n", count(Result::Ok),
                        count(Result::Failed), count(Result::Skipped), count(Result::Warning));
        if (count(Result::Failed) > 0)
            throw CLI::RuntimeError(ExitFailed);
    }

private:
    /// Whether the library has answered all that it was asked.
    Finding surveyLibrary()
    {
        Finding finding = runIsolated(
            [this](AdapterLibrary& library, Peer&) { survey(*m_survey, m_subject.file, library); },
            nullptr, m_subject.limit);
        if (!m_survey->isLoaded)
            throw Failure("cannot load " + m_subject.file + ": " +
                          (m_survey->error[0] != '\0' ? m_survey->error : finding.text));
        m_subject.isOwnLibrary = isMapped(m_survey->path);
        return finding;
    }

    bool has(Entry entry) const { return m_survey->has[static_cast<std::size_t>(entry)]; }

    Finding missingEntries() const
    {
        std::string missing;
        for (std::size_t i = 0; i < entryNames.size(); ++i) {
            auto const entry = static_cast<Entry>(i);
            bool const isOptional =
                entry == Entry::Send || (entry == Entry::SendV2 && has(Entry::Send));
            if (!has(entry) && !isOptional)
                missing.append(missing.empty() ? "missing: " : ", ").append(entryNames[i]);
        }
        return missing.empty() ? Finding{} : Finding{Result::Failed, missing};
    }

    Finding runCheck(Check const& check)
    {
        if (check.needs > m_stage)
            return {Result::Skipped, reasonsWithout[static_cast<int>(check.needs)]};
        if (check.optional && !has(*check.optional))
            return {Result::Skipped, nameOf(*check.optional) + std::string(" is not there")};
        Finding finding = runIsolated(sideOf(check.server), sideOf(check.client), m_subject.limit);
        if (finding.result == Result::Ok)
            m_stage = std::max(m_stage, check.shows);
        return finding;
    }

    Side sideOf(std::function<void(CheckSide&)> const& body) const
    {
        if (!body)
            return nullptr;
        return [this, &body](AdapterLibrary& library, Peer& peer) {
            if (!library.load(m_subject.file))
                fail(library.error());
            CheckSide side{library, peer, m_subject};
            body(side);
        };
    }

    void add(char const* rule, Finding const& finding)
    {
        auto const at = static_cast<std::size_t>(finding.result);
        ++m_counts[at];
        m_checks.push_back({{"rule", rule}, {"result", resultNames[at]}, {"text", finding.text}});
        if (m_options.json)
            return;
        bool const isFailed = finding.result == Result::Failed; // to catch the eye
        std::printf("%-8s %s%s%s\n", isFailed ? "FAILED" : resultNames[at], rule,
                    finding.text.empty() ? "" : ": ", printable(finding.text).c_str());
    }

    unsigned int count(Result result) const { return m_counts[static_cast<std::size_t>(result)]; }

    void printSurvey() const
    {
        std::printf("library  %s\n", printable(m_survey->path).c_str());
        if (m_survey->hasVersion)
            std::printf("version  %s\n", printable(m_survey->version).c_str());
        if (m_survey->hasStatus)
            std::printf("status   %d\n", m_survey->status);
        printEntries("entries ", true);
        printEntries("without ", false);
    }

    void printEntries(char const* title, bool present) const
    {
        unsigned int count = 0;
        for (std::size_t i = 0; i < entryNames.size(); ++i) {
            if (m_survey->has[i] == present)
                std::printf("%s %s", count++ % 4 != 0 ? "" : (count == 1 ? title : "\n        "),
                            entryNames[i]);
        }
        if (count > 0)
            std::putchar('\n');
    }

    void printJson() const
    {
        Json entries;
        for (std::size_t i = 0; i < entryNames.size(); ++i)
            entries[entryNames[i]] = m_survey->has[i];
        Json const report = {{"file", m_survey->path},
                             {"version", m_survey->hasVersion ? Json(m_survey->version) : Json()},
                             {"status", m_survey->hasStatus ? Json(m_survey->status) : Json()},
                             {"entries", entries},
                             {"checks", m_checks},
                             {"ok", count(Result::Ok)},
                             {"failed", count(Result::Failed)},
                             {"skipped", count(Result::Skipped)},
                             {"warnings", count(Result::Warning)}};
        std::puts(jsonLine(report).c_str());
    }

    AdapterOptions const& m_options;
    Subject m_subject;
    SharedMemory<Survey> m_survey;
    Json m_checks = Json::array();
    std::array<unsigned int, std::size(resultNames)> m_counts{};
    Stage m_stage = Stage::Loaded;
};

} // namespace

void addAdapter(CLI::App& program)
{
    auto const options = std::make_shared<AdapterOptions>();
    CLI::App& adapter = *program.add_subcommand("adapter", "Look after adapter libraries");
    adapter.require_subcommand(1);
    CLI::App& check = *adapter.add_subcommand(
        "check", "Check that an adapter library keeps to the common rules, a line each");
    check.add_option("FILE", options->file, "The library")->required();
    check.add_option("--address", options->address, "Where this machine is, as the library has it");
    check.add_option("--service", options->service, "The service to create and open");
    check.add_option("--deadline", options->deadlineS, "A check that takes longer hangs, seconds")
        ->check(CLI::Range(1U, 3600U));
    check.add_flag("--json", options->json, "One JSON object");
    check.callback([options] {
        if (options->file.empty())
            throw UsageError("FILE: a name is missing");
        Checking(*options).run();
    });
}

} // namespace dtcctl

// SPDX-License-Identifier: MIT
#include "tools/check_command.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/check/check_piece.h"
#include "engine/check/origins.h"
#include "engine/data/plain_text.h"
#include "engine/data/vocabulary.h"
#include "tools/check_drawn.h"
#include "tools/command_line.h"
#include "tools/files.h"
#include "tools/folder_build.h"
#include "tools/report.h"

/// A piece that was checked, and the names under which its documents are told.
struct CheckedPath
{
    std::string path;
    bool isFolder;
    CheckResult result;
    OriginList loadingOrigins; // of the documents; empty for a package and for documents that
    OriginList demoOrigins;    // no program wrote
};

static bool IsLoading(const char* document)
{
    return strncmp(document, "loading", 7) == 0;
}

static std::string PlainText(const std::string& text)
{
    std::string plain(PlainTextSize(text.size()), 0);
    plain.resize(FormatPlainText(text.c_str(), plain.data(), plain.size()));
    return plain;
}

/// "demo.xmlz" of a package is made of "demo.xml" in a folder.
static std::string DocumentPath(const CheckedPath& checked, const char* document)
{
    std::string path = checked.path;
    if (document == nullptr)
    {
        return PlainText(path);
    }
    path += path.empty() || path.back() == '/' ? "" : "/";
    path += document;
    if (checked.isFolder)
    {
        path.pop_back();
    }
    return PlainText(path);
}

/// Checks what was put together of a path, and finds the lines that made its documents.
static void CheckRead(const CheckRequest& request, CheckedPath* checked)
{
    CheckPiece(&request, &checked->result);
    if (checked->isFolder)
    {
        const std::string folder = checked->path + (checked->path.ends_with('/') ? "" : "/");
        checked->loadingOrigins = ReadOrigins(folder + "loading.xml", checked->result.loadingText);
        checked->demoOrigins = ReadOrigins(folder + "demo.xml", checked->result.demoText);
    }
}

/// @return where the author made what a finding is about; null if that is not known
static const Origin* OriginOf(const CheckedPath& checked, const Finding& finding)
{
    const Place& place = finding.place;
    if (place.document == nullptr || (place.item == 0 && place.section != Section::kMusic))
    {
        return nullptr;
    }
    return FindOrigin(IsLoading(place.document) ? checked.loadingOrigins : checked.demoOrigins,
                      static_cast<int32_t>(place.section), place.item, place.part);
}

/// The item and its part: `scene 2 "hall", object 3`; empty where there is none.
static std::string PlaceText(const Finding& finding)
{
    const VocabularySection* row = FindVocabularySection(finding.place.section);
    if (row == nullptr || finding.place.section == Section::kMusic)
    {
        return "";
    }
    if (finding.place.item == 0)
    {
        return row->faultName;
    }
    static constexpr const char* kItems[] = {"layer", "texture", "model",  "envelope",
                                             "light", "effect",  "bitmap", "material",
                                             "mesh",  "scene",   "row"};
    std::string text = FormatText("%s %u", kItems[static_cast<size_t>(finding.place.section)],
                                  ItemNumber(finding.place.section, finding.place.item));
    text += finding.name.empty() ? "" : " \"" + finding.name + "\"";
    if (finding.place.part != 0)
    {
        text += FormatText(", %s %u", row->faultPart, finding.place.part);
    }
    return text;
}

// ---- Lines

/// One line of a text, with its tabs as the parser counts them.
static std::string SourceLine(const std::string& text, int32_t line)
{
    static constexpr size_t kTab = 4;
    size_t begin = 0;
    for (int32_t i = 1; i < line && begin != std::string::npos; ++i)
    {
        const size_t end = text.find('\n', begin);
        begin = end == std::string::npos ? end : end + 1;
    }
    if (begin == std::string::npos)
    {
        return "";
    }
    std::string expanded;
    for (size_t i = begin; i < text.size() && text[i] != '\n' && text[i] != '\r'; ++i)
    {
        const size_t spaces = text[i] == '\t' ? kTab - expanded.size() % kTab : 0;
        expanded += spaces == 0 ? std::string(1, text[i]) : std::string(spaces, ' ');
    }
    return expanded;
}

/// The source line with a caret below, shortened around the place if it is long.
static void PrintSource(const CheckedPath& checked, const Finding& finding)
{
    static constexpr size_t kWidth = 100;
    static constexpr size_t kBefore = 60; // the most of the line that is shown before the place
    if (finding.place.line == 0)
    {
        return;
    }
    const std::string line = SourceLine(
        IsLoading(finding.place.document) ? checked.result.loadingText : checked.result.demoText,
        finding.place.line);
    size_t column = static_cast<size_t>(std::max(finding.place.column, 1)) - 1;
    if (line.empty() || column > line.size())
    {
        return;
    }
    const size_t indent = std::min(line.find_first_not_of(' '), column);
    const size_t from = column - indent > kBefore ? column - kBefore : indent;
    const std::string shown = PlainText(line.substr(from, kWidth));
    printf("    %s\n    %*s^\n", shown.c_str(), static_cast<int>(column - from), "");
}

/// "mine/demo.xml:12:5", without the numbers where there are none.
static std::string DocumentPlace(const CheckedPath& checked, const Finding& finding)
{
    std::string text = DocumentPath(checked, finding.place.document);
    if (finding.place.line != 0)
    {
        text += FormatText(":%d:%d", finding.place.line, finding.place.column);
    }
    return text;
}

static std::string LineText(const OriginLine& line)
{
    return PlainText(line.file) + FormatText(":%u", line.line);
}

/// The lines that called the one that made the item, and the place in the document.
static void PrintWay(const CheckedPath& checked, const Finding& finding, const Origin& origin)
{
    for (size_t i = 1; i < origin.lines.size(); ++i)
    {
        printf("    called from %s\n", LineText(origin.lines[i]).c_str());
    }
    printf("    written to %s\n", DocumentPlace(checked, finding).c_str());
}

/// @return the word for a severity, in its color where there are colors
static std::string ShownSeverity(Severity severity, bool hasColors)
{
    static constexpr const char* kColors[] = {"\x1b[1;36m", "\x1b[1;35m", "\x1b[1;31m"};
    const std::string word = SeverityWord(severity);
    return hasColors ? kColors[static_cast<size_t>(severity)] + word + "\x1b[0m" : word;
}

/// The cure, in the language that the author wrote.
static const std::string& CureOf(const Finding& finding, const Origin* origin)
{
    return origin == nullptr || finding.pythonCure.empty() ? finding.cure : finding.pythonCure;
}

/// The author's own line comes first where it is known: that is where editors jump to.
static void PrintFinding(const CheckedPath& checked, const Finding& finding, bool hasColors)
{
    const Origin* origin = OriginOf(checked, finding);
    std::string line =
        origin == nullptr ? DocumentPlace(checked, finding) : LineText(origin->lines[0]);
    line += ": " + ShownSeverity(finding.severity, hasColors) + ": ";
    const std::string place = PlaceText(finding);
    line += PlainText(place.empty() ? finding.text : place + ": " + finding.text);
    printf("%s [%s]\n", line.c_str(), RuleName(finding.rule));
    if (origin != nullptr)
    {
        PrintWay(checked, finding, *origin);
    }
    PrintSource(checked, finding);
    const std::string& cure = CureOf(finding, origin);
    if (!cure.empty())
    {
        printf("    cure: %s\n", PlainText(cure).c_str());
    }
}

static void PrintFindings(const CheckedPath& checked, bool hasColors)
{
    std::map<std::pair<Rule, Severity>, uint32_t> counts;
    for (const Finding& finding : checked.result.findings)
    {
        uint32_t* count = &counts[{finding.rule, finding.severity}];
        *count += 1;
        if (*count <= kMostLinesOfARule)
        {
            PrintFinding(checked, finding, hasColors);
        }
    }
    for (const auto& [key, count] : counts)
    {
        if (count > kMostLinesOfARule)
        {
            printf("%s: %s: %u more of [%s]\n", PlainText(checked.path).c_str(),
                   ShownSeverity(key.second, hasColors).c_str(), count - kMostLinesOfARule,
                   RuleName(key.first));
        }
    }
}

static std::string CountText(uint32_t count, const char* word)
{
    return FormatText("%u %s%s", count, word, count == 1 ? "" : "s");
}

struct Verdict
{
    bool isValid;
    uint32_t errors;
    uint32_t warnings;
    uint32_t notes;
};

static Verdict Judge(const FindingList& findings, bool isStrict)
{
    const uint32_t errors = CountFindings(findings, Severity::kError);
    const uint32_t warnings = CountFindings(findings, Severity::kWarning);
    return {errors == 0 && (!isStrict || warnings == 0), errors, warnings,
            CountFindings(findings, Severity::kNote)};
}

static void PrintVerdict(const CheckedPath& checked, const Verdict& verdict, bool namesPath)
{
    const std::string counts =
        CountText(verdict.errors, "error") + ", " + CountText(verdict.warnings, "warning");
    const std::string path = namesPath ? PlainText(checked.path) + ": " : "";
    if (!verdict.isValid)
    {
        printf("%snot valid: %s\n", path.c_str(), counts.c_str());
        return;
    }
    printf("%svalid%s\n", path.c_str(),
           verdict.warnings == 0 ? "" : (": " + CountText(verdict.warnings, "warning")).c_str());
}

// ---- JSON

static std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : PlainText(text))
    {
        quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + "\"";
}

static std::string Member(const char* key, const std::string& value)
{
    return FormatText("\"%s\":", key) + value;
}

static std::string LinesJson(const std::vector<OriginLine>& lines)
{
    std::string json = "[";
    for (const OriginLine& line : lines)
    {
        json += (json.size() == 1 ? "{" : ",{") + Member("file", Quoted(line.file)) + "," +
                Member("line", std::to_string(line.line)) + "}";
    }
    return json + "]";
}

static std::string FindingJson(const CheckedPath& checked, const Finding& finding)
{
    std::string json = "{" + Member("severity", Quoted(SeverityWord(finding.severity))) + "," +
                       Member("rule", Quoted(RuleName(finding.rule)));
    const auto add = [&json](const char* key, const std::string& value)
    {
        json += "," + Member(key, value);
    };
    const Place& place = finding.place;
    if (place.document != nullptr)
    {
        std::string document = place.document;
        document.resize(document.size() - (checked.isFolder ? 1 : 0));
        add("document", Quoted(document));
    }
    const VocabularySection* section = FindVocabularySection(place.section);
    if (section != nullptr)
    {
        add("section", Quoted(section->word));
    }
    if (place.item != 0)
    {
        add("item", std::to_string(place.item));
    }
    if (!finding.name.empty())
    {
        add("name", Quoted(finding.name));
    }
    if (place.part != 0)
    {
        add("part", std::to_string(place.part));
    }
    if (place.line != 0)
    {
        add("line", std::to_string(place.line));
        add("column", std::to_string(place.column));
    }
    const Origin* origin = OriginOf(checked, finding);
    if (origin != nullptr)
    {
        add("author", LinesJson(origin->lines));
    }
    add("text", Quoted(finding.text));
    const std::string& cure = CureOf(finding, origin);
    if (!cure.empty())
    {
        add("cure", Quoted(cure));
    }
    return json + "}";
}

static void PrintJson(const CheckedPath& checked, const Verdict& verdict)
{
    printf("{\"path\":%s,\"verdict\":\"%s\",\"errors\":%u,\"warnings\":%u,\"notes\":%u,"
           "\"findings\":[",
           Quoted(checked.path).c_str(), verdict.isValid ? "valid" : "not valid", verdict.errors,
           verdict.warnings, verdict.notes);
    const char* separator = "";
    for (const Finding& finding : checked.result.findings)
    {
        printf("%s\n%s", separator, FindingJson(checked, finding).c_str());
        separator = ",";
    }
    printf("]}\n");
}

// ---- The whole

/// @return the folder of a file, where players look for the module
static std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// Looks at the pictures of a piece that was checked, if that is asked for.
/// @return false after an error line: nothing can draw here
static bool CheckPicturesOf(const CheckOptions& options, const Bytes& package, CheckedPath* checked)
{
    const Verbosity verbosity = options.isQuiet ? Verbosity::kQuiet : Verbosity::kUsual;
    return !options.drawsPictures || CheckDrawnPictures(package, verbosity, &checked->result);
}

static bool CheckFolder(const CheckOptions& check, CheckedPath* checked)
{
    BuildOptions options = {};
    options.mesh.isQuiet = true;
    options.takesAnyText = true;
    PackedFolder packed = {};
    bool isChecked = PackFolder(checked->path, "", options, &packed);
    if (isChecked)
    {
        const Bytes package(packed.package.bytes, packed.package.bytes + packed.package.size);
        CheckRead({nullptr, package.data(), package.size(), checked->path.c_str()}, checked);
        isChecked = CheckPicturesOf(check, package, checked);
    }
    free(packed.package.bytes);
    return isChecked;
}

/// A package that another program gives; the module is looked for in the working folder.
static bool CheckStandardInput(const CheckOptions& options, CheckedPath* checked)
{
    Bytes bytes;
    if (!ReadInput(checked->path, UINT32_MAX, &bytes))
    {
        return false;
    }
    CheckRead({nullptr, bytes.data(), bytes.size(), "."}, checked);
    return CheckPicturesOf(options, bytes, checked);
}

/// A package in a file, which is read whole for pictures alone.
static bool CheckPackageFile(const CheckOptions& options, CheckedPath* checked)
{
    const std::string folder = FolderOf(checked->path);
    CheckRead({checked->path.c_str(), nullptr, 0, folder.c_str()}, checked);
    const FindingList& findings = checked->result.findings;
    if (!findings.empty() && findings[0].rule == Rule::kUnreadablePackage)
    {
        ReportError("%s", PlainText(findings[0].text).c_str());
        return false;
    }
    Bytes bytes;
    return !options.drawsPictures || (ReadWholeFile(checked->path, UINT32_MAX, &bytes) &&
                                      CheckPicturesOf(options, bytes, checked));
}

/// @return false after an error line: the path can't be read, or its pictures can't be drawn
static bool CheckPath(const CheckOptions& options, CheckedPath* checked)
{
    if (checked->path == kStandardStream)
    {
        return CheckStandardInput(options, checked);
    }
    struct stat status;
    if (stat(checked->path.c_str(), &status) != 0 ||
        (!S_ISDIR(status.st_mode) && access(checked->path.c_str(), R_OK) != 0))
    {
        ReportError("%s: %s", Printable(checked->path).c_str(), strerror(errno));
        return false;
    }
    checked->isFolder = S_ISDIR(status.st_mode);
    return checked->isFolder ? CheckFolder(options, checked) : CheckPackageFile(options, checked);
}

/// @return false after an error line: there is no such rule
static bool FindRules(const std::vector<std::string>& names, std::vector<Rule>* rules)
{
    std::vector<const char*> all;
    for (uint32_t i = 0; i < kRuleCount; ++i)
    {
        all.push_back(RuleName(static_cast<Rule>(i)));
    }
    for (const std::string& name : names)
    {
        Rule rule;
        if (!FindRule(name.c_str(), &rule))
        {
            const char* nearest = FindNearest(name, all);
            ReportError("there is no rule \"%s\"%s%s", Printable(name).c_str(),
                        nearest == nullptr ? "" : "; the nearest is ",
                        nearest == nullptr ? "" : nearest);
            return false;
        }
        rules->push_back(rule);
    }
    return true;
}

static void KeepOnly(const std::vector<Rule>& rules, FindingList* findings)
{
    if (!rules.empty())
    {
        std::erase_if(*findings,
                      [&rules](const Finding& finding) {
                          return std::find(rules.begin(), rules.end(), finding.rule) == rules.end();
                      });
    }
}

int CheckPaths(const std::vector<std::string>& paths, const CheckOptions& options)
{
    std::vector<Rule> rules;
    if (!FindRules(options.only, &rules))
    {
        return kExitUsage;
    }
    int exitCode = kExitDone;
    for (const std::string& path : paths)
    {
        CheckedPath checked = {path, false, {}, {}, {}};
        if (!CheckPath(options, &checked))
        {
            exitCode = kExitUsage;
            continue;
        }
        KeepOnly(rules, &checked.result.findings);
        const Verdict verdict = Judge(checked.result.findings, options.isStrict);
        if (options.json)
        {
            PrintJson(checked, verdict);
        }
        else if (!options.isQuiet)
        {
            PrintFindings(checked, HasColors(options.color));
            PrintVerdict(checked, verdict, paths.size() > 1);
        }
        exitCode = verdict.isValid || exitCode == kExitUsage ? exitCode : kExitFailed;
    }
    return exitCode;
}

/// Checks a piece in memory under the name of a path, and prints errors and warnings.
/// @return whether it has no error
static bool CheckBytes(CheckedPath* checked, const CheckRequest& request, ColorChoice color)
{
    CheckRead(request, checked);
    FindingList* findings = &checked->result.findings;
    std::erase_if(*findings,
                  [](const Finding& finding) { return finding.severity == Severity::kNote; });
    PrintFindings(*checked, HasColors(color));
    return CountFindings(*findings, Severity::kError) == 0;
}

bool CheckPacked(const std::string& folder, const unsigned char* bytes, size_t size,
                 ColorChoice color)
{
    CheckedPath checked = {folder, true, {}, {}, {}};
    return CheckBytes(&checked, {nullptr, bytes, size, folder.c_str()}, color);
}

bool CheckPackage(const std::string& path, const unsigned char* bytes, size_t size)
{
    CheckedPath checked = {path, false, {}, {}, {}};
    const std::string folder = FolderOf(path);
    return CheckBytes(&checked, {nullptr, bytes, size, folder.c_str()}, ColorChoice::kAuto);
}

// console_test.cpp - runs the reference host as a program.
//
// Golden tests: each golden/NAME.qx is run in its folder and must print golden/NAME.out, which
// ends in the exit status. Times are replaced by "#". After every run, whatever went wrong in it,
// the host's allocator must report that nothing is live. To renew the expected outputs, run with
// QXUT_UPDATE_GOLDEN=1 in the environment and read the difference.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kGolden = QXUT_CONSOLE_GOLDEN;
const fs::path kDemo = QXUT_CONSOLE_DEMO;

// Under a sanitizer a request that is too large is refused as everywhere else.
const bool kRefusesHugeRequests = setenv("ASAN_OPTIONS", "allocator_may_return_null=1", 0) == 0;

std::string read_file(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// A folder that goes with the test.
class Folder {
  public:
    Folder() {
        std::string name = (fs::temp_directory_path() / "console_test_XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { fs::remove_all(path_); }

    fs::path write(const std::string& name, const std::string& text) const {
        std::ofstream(path_ / name, std::ios::binary) << text;
        return path_ / name;
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

// The host, running; its standard output can be read while it runs.
class Console {
  public:
    Console(std::vector<std::string> arguments, const fs::path& folder, int input = -1) {
        arguments.insert(arguments.begin(), {QXUT_CONSOLE, "--memory-report"});
        std::vector<char*> argv;
        argv.reserve(arguments.size() + 1);
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors_path().c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (input >= 0) posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
        EXPECT_EQ(posix_spawn(&process_, QXUT_CONSOLE, &actions, nullptr, argv.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        output_end_ = ends[0];
    }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;
    ~Console() { finish(); }

    // Reads on until the output so far holds a text, or ends.
    void read_until(const std::string& text) {
        while (output_.find(text) == std::string::npos && read_some()) continue;
    }
    void send(int signal) const { kill(process_, signal); }

    // Waits for the end and checks that nothing is live.
    void finish() {
        if (process_ == 0) return;
        while (read_some()) continue;
        close(output_end_);
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = 0;
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        errors_ = read_file(errors_path());
        EXPECT_NE(errors_.find("live at exit 0 bytes in 0 blocks"), std::string::npos) << errors_;
    }

    const std::string& output() const { return output_; }
    const std::string& errors() const { return errors_; }
    int status() const { return status_; }
    double peak() const {  // bytes, as counted by the host
        const size_t found = errors_.find("peak ");
        return found == std::string::npos ? -1 : std::stod(errors_.substr(found + 5));
    }

  private:
    fs::path errors_path() const { return folder_.path() / "errors"; }
    bool read_some() {
        char buffer[4096];
        const ssize_t count = read(output_end_, buffer, sizeof buffer);
        if (count > 0) output_.append(buffer, static_cast<size_t>(count));
        return count > 0;
    }

    Folder folder_;
    pid_t process_ = 0;
    int output_end_ = -1;
    int status_ = 0;
    std::string output_;
    std::string errors_;
};

// Runs the host to its end.
struct Result {
    std::string output;
    std::string errors;
    int status;
    double peak;
};
Result run(const std::vector<std::string>& arguments, const fs::path& folder = kGolden) {
    Console console(arguments, folder);
    console.finish();
    return {console.output(), console.errors(), console.status(), console.peak()};
}

// --- golden scripts ---------------------------------------------------------------------------

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// The output with "#" for the number in every line that tells a time.
std::string without_times(const std::string& output) {
    std::string result;
    for (const std::string& line : lines_of(output)) {
        const size_t digits = std::min(line.find_first_not_of("0123456789."), line.size());
        const std::string rest = line.substr(digits);
        result += (rest == " ms" || rest == " ミリ秒" ? "#" + rest : line) + "\n";
    }
    return result;
}

void expect_golden(const fs::path& script, const fs::path& folder) {
    const fs::path expected = kGolden / fs::path(script).replace_extension(".out");
    const Result result = run({script}, folder);
    const std::string output =
        without_times(result.output) + "[status " + std::to_string(result.status) + "]\n";
    if (std::getenv("QXUT_UPDATE_GOLDEN") != nullptr) std::ofstream(expected) << output;
    EXPECT_EQ(output, read_file(expected));
}

class Golden : public testing::TestWithParam<fs::path> {};

TEST_P(Golden, PrintsWhatIsExpected) {
    expect_golden(GetParam().filename(), GetParam().parent_path());
}

std::vector<fs::path> scripts() {
    std::set<fs::path> found;
    for (const fs::path& folder : {kGolden, kDemo}) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            if (entry.path().extension() == ".qx") found.insert(entry.path());
        }
    }
    return {found.begin(), found.end()};
}

std::string script_name(const testing::TestParamInfo<fs::path>& info) {
    return info.param.parent_path().filename().string() + "_" + info.param.stem().string();
}

INSTANTIATE_TEST_SUITE_P(Console, Golden, testing::ValuesIn(scripts()), script_name);

// The ten kinds of the demo's errors.qx are reported in both languages.
TEST(Console, ReportsTheSameErrorsInBothLanguages) {
    const std::string output = run({"errors.qx"}, kDemo).output;
    std::set<std::string> english;
    std::set<std::string> japanese;
    for (const std::string& line : lines_of(output)) {
        const size_t identifier = line.rfind("[VELUMA:");
        if (identifier == std::string::npos) continue;
        (line.rfind("errors.qx:", 0) == 0 ? english : japanese).insert(line.substr(identifier));
    }
    EXPECT_GE(english.size(), 10U);
    EXPECT_EQ(english, japanese);
}

// --- where statements come from, and what is reported to the caller
// -------------------------------

TEST(Console, RunsTextsThenFilesAndTellsByItsStatusWhetherAllWentWell) {
    const Folder folder;
    folder.write("good.qx", "x = x + 1\nx");
    folder.write("bad.qx", "nothing\nx");
    struct Row {
        std::vector<std::string> arguments;
        const char* output;
        int status;
    };
    const Row rows[] = {
        {{"-e", "x = 1", "good.qx", "-e", "x"}, "1.0\n2.0\n", 0},
        {{"-e", "x = 1\n\n# no\n x", "-e", "", "-e", "x * 2"}, "1.0\n2.0\n", 0},
        {{"-e", "x = 1", "bad.qx", "good.qx"},
         "bad.qx:1: Error: The name \"nothing\" is not defined. [VELUMA:unknown_name]\n1.0\n2.0\n",
         1},
        {{"-e", "x = 1\r\nquit\r\nx", "good.qx"}, "", 0},
        {{"missing.qx", "-e", "1"},
         "1.0\nError: There is no file \"missing.qx\". [VELUMA:file_not_found]\n",
         1},
        {{"--language", "ja", "-e", "y"},
         "-e の 1 行目: エラー: 名前 \"y\" は定義されていません。 [VELUMA:unknown_name]\n",
         1},
        {{"--language", "Klingon", "-e", "1"},
         "option:1: Error: There is no language \"Klingon\"; there are \"English\" and \"ja\". "
         "[VELUMA:unknown_language]\n1.0\n",
         1},
        {{"--warnings", "off", "-e", "1/0"}, "Inf\n", 0},
        {{"-e", "try 1/"},
         "-e:1: Error: The statement ends at column 7, but something is missing there. "
         "[VELUMA:unfinished]\n",
         0},
        {{"-e", "try nothing\nnothing"},
         "-e:1: Error: The name \"nothing\" is not defined. [VELUMA:unknown_name]\n"
         "-e:2: Error: The name \"nothing\" is not defined. [VELUMA:unknown_name]\n",
         1},
        {{"--echo", "-e", "1"}, ">> 1\n1.0\n", 0},
    };
    for (const Row& row : rows) {
        const Result result = run(row.arguments, folder.path());
        EXPECT_EQ(result.output, row.output) << testing::PrintToString(row.arguments);
        EXPECT_EQ(result.status, row.status) << testing::PrintToString(row.arguments);
    }
}

// Options that make no sense end before anything is allocated, so there is no report.
TEST(Console, RefusesUnknownOptions) {
    const std::string command = std::string(QXUT_CONSOLE) + " --nonsense 2>/dev/null";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 2);
}

TEST(Console, ReadsStandardInput) {
    const Folder folder;
    const int input = open(folder.write("input", "x = 2\nx^3").c_str(), O_RDONLY | O_CLOEXEC);
    Console console({}, folder.path(), input);
    close(input);
    console.finish();
    EXPECT_EQ(console.output(), "8.0\n");
    EXPECT_EQ(console.status(), 0);
}

TEST(Console, PromptsAPerson) {
    const int person = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(person, 0);
    ASSERT_EQ(grantpt(person), 0);
    ASSERT_EQ(unlockpt(person), 0);
    const int terminal = open(ptsname(person), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    {
        Console console({}, kGolden, terminal);
        console.read_until(">> ");
        EXPECT_EQ(write(person, "oops\n", 5), 5);
        console.read_until("unknown_name]\n>> ");
        EXPECT_EQ(write(person, "quit\n", 5), 5);
        console.finish();
        EXPECT_EQ(console.status(), 0) << console.output();
    }
    close(terminal);
    close(person);
}

TEST(Console, CopiesItsOutputToALog) {
    const Folder folder;
    const Result result = run({"--log", "log.txt", "-e",
                               "1 + 1\nlanguage ja\nnothing\n1/0\ntranscript other.txt\n2\n"
                               "transcript off\n3"},
                              folder.path());
    const std::string log = read_file(folder.path() / "log.txt");
    const std::string other = read_file(folder.path() / "other.txt");
    EXPECT_NE(log.find("2.0\n"), std::string::npos);
    EXPECT_NE(log.find("警告: 0 で割りました。"), std::string::npos);
    EXPECT_EQ(other.substr(other.find('\n') + 1), "2.0\n");
    const size_t first_line = result.output.find('\n') + 1;  // before the log was open
    EXPECT_EQ(result.output.substr(0, first_line).find("log.txt") == std::string::npos, false);
    EXPECT_EQ(result.output, log + other + "3.0\n");
}

// --- limits -----------------------------------------------------------------------------------

TEST(Console, LimitsLinesAndNesting) {
    const Folder folder;
    const auto repeated = [](const char* text, int count) {
        std::string result;
        for (int i = 0; i < count; ++i) result += text;
        return result;
    };
    struct Row {
        std::string statement;
        const char* output;  // a part of it
    };
    const Row rows[] = {
        {"length([" + repeated("1 ", 200000) + "])", "200000.0\n"},
        {repeated("1+", 100000) + "1", "100001.0\n"},
        {repeated("(", 50) + "1" + repeated(")", 50), "1.0\n"},
        {repeated("(", 100000) + "1", "[VELUMA:nested_too_deep]"},
        {repeated("[", 100000), "[VELUMA:nested_too_deep]"},
        {repeated("-", 100000) + "1", "[VELUMA:nested_too_deep]"},
        {repeated("2^", 100000) + "1", "[VELUMA:nested_too_deep]"},
        {repeated("abs(", 100000) + "1", "[VELUMA:nested_too_deep]"},
        {"x" + repeated("[x", 100000), "[VELUMA:nested_too_deep]"},
        {repeated("1+", 600000) + "1", "[VELUMA:line_too_long]"},
    };
    for (const Row& row : rows) {
        const Result result = run({folder.write("s.qx", row.statement + "\n\"next\"").string()});
        EXPECT_NE(result.output.find(row.output), std::string::npos)
            << row.statement.substr(0, 20) << ": " << result.output.substr(0, 500);
        EXPECT_NE(result.output.find("\"next\"\n"), std::string::npos) << row.statement[0];
    }
}

TEST(Console, LimitsRowsOfAFile) {
    const Folder folder;
    folder.write("fits.csv", "a,b\n1,\"" + std::string(size_t{250} * 1024, 'x') + "\"\n2,y\n");
    folder.write("long.csv", "a,b\n1,\"" + std::string(size_t{300} * 1024, '\n') + "\"\n2,y\n");
    const Result result =
        run({"-e", "load fits.csv", "-e", "length(a)", "-e", "load long.csv"}, folder.path());
    EXPECT_NE(result.output.find("\n2.0\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("row 2 is longer than"), std::string::npos) << result.output;
}

// With every limit from nothing to plenty the host starts or says why not, a statement that runs
// out of memory is reported, and nothing stays allocated (checked by every run).
TEST(Console, SurvivesAnyMemoryLimit) {
    const std::string statements =
        "x = range(1, 1000)\nload \"gaps.csv\"\nsort(x * 2)\n[x x]\nunique(c)\nwho\n"
        "group x, -x by floor(x / 9)\nlength(union(x, 2 * x))\ncrc(\"gaps.csv\")\n"
        "md5(\"gaps.csv\")\nfind(c, \"\\w+[a-]\")\n"
        "replace(\"a12b\", '(\\d)(??[a)?', '${join($1, number($1) + 1)}')\nlanguage "
        "ja\nnothing\nwarning off division_by_zero\n1/0\n\"done\"";
    int done = 0;
    for (size_t limit = 500; limit < 450000; limit += limit < 60000 ? 1500 : 26000) {
        const Result result = run({"--memory-limit", std::to_string(limit), "-e", statements});
        EXPECT_LE(result.peak, static_cast<double>(limit));
        EXPECT_TRUE(result.status == 1 || result.status == 2) << limit << " " << result.status;
        if (result.status == 2) {
            EXPECT_FALSE((result.output + result.errors).find("memory") == std::string::npos);
        }
        if (result.output.find("\"done\"") != std::string::npos) ++done;
    }
    EXPECT_GT(done, 20);
}

TEST(Console, GoesOnAfterRunningOutOfMemory) {
    const Result result = run({"--memory-limit", "1MB", "-e",
                               "x = range(1, 100)\nx = range(1, 1e6)\nsum(x)\n"
                               "repeat 1000 x = sort(x + 1)\nx[1]"});
    EXPECT_EQ(result.output,
              "-e:2: Error: Out of memory. [VELUMA:out_of_memory]\n5050.0\n1001.0\n");
    EXPECT_EQ(result.status, 1);
}

TEST(Console, CtrlCEndsTheStatementOnly) {
    Console console({"-e", "x = 3", "-e", "\"ready\"", "-e", "repeat 1e15 x = x + 1", "-e", "x > 2",
                     "-e", "sort([2 1])"},
                    kGolden);
    console.read_until("ready");
    console.send(SIGINT);
    console.finish();
    EXPECT_EQ(console.output(),
              "\"ready\"\n-e:1: Interrupted. [VELUMA:err_signal_interrupt]\n1.0\n[1.0 2.0]\n");
    EXPECT_EQ(console.status(), 1);
}

// What cannot be read twice is loaded in one go, into columns that grow.
TEST(Console, LoadsFromAPipe) {
    std::string rows = "n,name\n";
    for (int i = 0; i < 5000; ++i) rows += std::to_string(i) + (i < 4000 ? ",\n" : ",x\n");
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(write(ends[1], rows.data(), rows.size()), static_cast<ssize_t>(rows.size()));
    close(ends[1]);
    Console console({"-e", "load /dev/stdin", "-e", "[sum(n) count(name) length(name)]"}, kGolden,
                    ends[0]);
    close(ends[0]);
    console.finish();
    EXPECT_EQ(console.output(),
              "/dev/stdin: rows 5000, columns of numbers 1, of texts 1\n"
              "[12497500.0 1000.0 5000.0]\n");
}

// A million rows take at most twice their size and 16 MB: 8 bytes for each number, and the
// distinct texts.
TEST(Console, LoadsAMillionRowsInBoundedMemory) {
    constexpr int kRows = 1000000;
    constexpr double kSlack = 16.0 * 1024 * 1024;
    const Folder folder;
    std::string mixed = "id,town,x\n";
    std::string single = "n\n";
    double texts = 0;
    for (int i = 0; i < kRows; ++i) {
        const std::string town = "town" + std::to_string(i % 997);
        if (i < 997) texts += static_cast<double>(town.size());
        const std::string number = std::to_string(i);
        mixed.append(number).append(",").append(town).append(",.").append(number).append("\n");
        single.append(number).append("\n");
    }
    folder.write("mixed.csv", mixed);
    folder.write("single.csv", single);

    Result result =
        run({"-e", "load mixed.csv", "-e", "[sum(id) max(x)]", "-e", "sum(town == \"town996\")"},
            folder.path());
    EXPECT_EQ(result.output,
              "mixed.csv: rows 1000000, columns of numbers 2, of texts 1\n"
              "[499999500000.0 .999999]\n1003.0\n");
    EXPECT_LE(result.peak, 2 * (8.0 * kRows * 2 + texts) + kSlack);

    result = run({"-e", "load single.csv", "-e", "sum(n)"}, folder.path());
    EXPECT_NE(result.output.find("\n499999500000.0\n"), std::string::npos) << result.output;
    EXPECT_LE(result.peak, 2 * 8.0 * kRows + kSlack);
}

// The demo's million rows: one column of numbers and three of texts, in the same bound.
TEST(Console, ShowsTheMillionRowsOfItsDemo) {
    const Folder folder;
    const fs::path data = folder.path() / "readings.csv";
    const std::string make = (kDemo / "million" / "make.sh").string() + " > " + data.string();
    ASSERT_EQ(std::system(make.c_str()), 0);
    fs::copy(kDemo / "million" / "million.qx", folder.path());

    const double texts = 4096 * 5 + 100;
    const double loaded = run({"-e", "load readings.csv"}, folder.path()).peak;
    EXPECT_LE(loaded, 2 * (8.0 * 1000000 + texts) + 16.0 * 1024 * 1024);
    expect_golden("million.qx", folder.path());
}

}  // namespace

// main.cpp - qxre: searches and rewrites files with regular expressions, shows what a pattern
// means.
//
//     qxre find PATTERN [FILES]                lines with a match, as grep prints them, or JSON
//     qxre replace PATTERN TEMPLATE [FILES]    the files with what takes the place of each match
//     qxre explain PATTERN                     listing, tokens, analysis, warnings and notes
//     qxre graph PATTERN                       the graph of the pattern, text or picture
//     qxre escape TEXTS, qxre wildcard TEXTS   patterns for texts as they are, for wildcards
//
// The language is that of docs/regex.md. Exit statuses of find and replace are grep's: 0 something
// was found, 1 nothing was, 2 trouble; of explain and graph: 0, 1 the pattern draws warnings, 2
// trouble.
//
// Tested by tests/tools/qxre_test.py.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <string_view>

#include "explain.h"
#include "find.h"
#include "replace.h"
#include "translate.h"

namespace {

using qxre::ExplainOptions;
using qxre::FindOptions;
using qxre::ReplaceOptions;
using qxre::When;

void add_flag(CLI::App& app, RE_Flags& flags, const char* names, RE_Flags flag, const char* what) {
    app.add_flag_callback(
        names, [&flags, flag] { flags = flags | flag; }, what);
}

void add_pattern(CLI::App& app, std::string& pattern, RE_Flags& flags) {
    app.add_option("pattern", pattern, "The pattern (behind -- if it begins with -)")->required();
    add_flag(app, flags, "-i,--ignore-case", RE_IGNORE_CASE, "Ignore case");
    add_flag(app, flags, "-s,--dot-all", RE_DOT_ALL, ". matches a newline too");
    add_flag(app, flags, "-m,--multi-line", RE_MULTI_LINE, "^ and $ match at every line");
    add_flag(app, flags, "-x,--free-spacing", RE_FREE_SPACING,
             "White space is skipped, # starts a comment");
}

void add_when(CLI::App& app, When& when, const char* names, const char* what) {
    static const std::map<std::string, When> words{
        {"auto", When::automatic}, {"always", When::always}, {"never", When::never}};
    app.add_option(names, when, what)->transform(CLI::CheckedTransformer(words));
}

CLI::App* add_find(CLI::App& app, FindOptions& options) {
    CLI::App* find = app.add_subcommand("find", "Print the lines with a match");
    find->set_help_flag("--help", "Print this help and exit");
    add_pattern(*find, options.pattern, options.flags);
    find->add_option("files", options.files, "Files to search; none or -: standard input");
    find->add_flag("--whole", options.whole, "Search each file as one text, not line by line");
    find->add_flag("-v,--invert-match", options.invert, "Take the lines without a match");
    find->add_flag("-o,--only,--only-matching", options.only, "Print the matches only");
    find->add_flag("-c,--count", options.count,
                   "Print how many lines match (with --whole, how many matches there are)");
    find->add_flag("-l,--files-with-matches", options.list, "Print the names of files only");
    find->add_flag("-q,--quiet", options.quiet, "Print nothing; the exit status tells");
    find->add_flag("--json", options.json,
                   "Print one JSON object a line, or a match with --only and --whole");
    find->add_flag("-n,--line-number", options.numbers, "Print line numbers");
    find->add_flag_callback(
        "-H,--with-filename", [&options] { options.names = When::always; }, "Print file names");
    find->add_flag_callback(
        "-h,--no-filename", [&options] { options.names = When::never; }, "Print no file names");
    find->add_option("-A,--after-context", options.after, "Lines to print behind a match");
    find->add_option("-B,--before-context", options.before, "Lines to print in front of a match");
    find->add_option_function<size_t>(
        "-C,--context", [&options](size_t lines) { options.before = options.after = lines; },
        "Lines to print around a match");
    add_when(*find, options.colours, "--color,--colour", "Colours: auto, always, never");
    find->add_option("--encoding", options.encoding,
                     "Encoding of the files; without it, recognised");
    find->add_flag("-a,--text", options.as_text, "Print matches in files that look binary");
    find->footer("Exit status: 0 something was found, 1 nothing was, 2 trouble.");
    return find;
}

CLI::App* add_replace(CLI::App& app, ReplaceOptions& options) {
    CLI::App* replace = app.add_subcommand("replace", "Put other text in the place of matches");
    add_pattern(*replace, options.pattern, options.flags);
    replace
        ->add_option("template", options.replacement,
                     "What takes their place: $1 or $<name> is a token, $0 the match")
        ->required();
    replace->add_option("files", options.files, "Files to work on; none or -: standard input");
    replace->add_flag("--whole", options.whole, "Take each file as one text, not line by line");
    replace->add_flag("--first", options.first,
                      "Replace the first match only (of each line, or with --whole of each file)");
    replace->add_flag("--in-place", options.in_place,
                      "Rewrite the files; each is replaced as a whole or not at all");
    replace->add_flag("--dry-run", options.dry_run, "Show what would change, as a diff");
    add_when(*replace, options.colours, "--color,--colour", "Colours: auto, always, never");
    replace->add_option("--encoding", options.encoding,
                        "Encoding of the files; without it, recognised");
    replace->footer("Exit status: 0 something was replaced, 1 nothing was, 2 trouble.");
    return replace;
}

CLI::App* add_translation(CLI::App& app, std::vector<std::string>& texts, const char* name,
                          const char* what) {
    CLI::App* command = app.add_subcommand(name, what);
    command->add_option("texts", texts, "Texts; none: the lines of standard input");
    return command;
}

CLI::App* add_explain(CLI::App& app, ExplainOptions& options, const char* name, const char* what) {
    CLI::App* command = app.add_subcommand(name, what);
    add_pattern(*command, options.pattern, options.flags);
    add_flag(*command, options.flags, "-e,--evaluate", RE_EVALUATE,
             "Dynamic expressions are permitted");
    command->footer("Exit status: 0, 1 the pattern draws warnings, 2 trouble.");
    return command;
}

int start(int argc, char** argv) {
    CLI::App app{
        "Searches and rewrites files with regular expressions, and shows what a pattern means."};
    app.require_subcommand(1);
    FindOptions find_options;
    const CLI::App* find = add_find(app, find_options);
    ExplainOptions options;
    const CLI::App* explain =
        add_explain(app, options, "explain", "Show what a pattern is compiled to");
    CLI::App* graph = add_explain(app, options, "graph", "Draw the graph of a pattern");
    graph->add_option("--format", options.format, "dot (its text, the default), svg or png")
        ->check(CLI::IsMember({"dot", "svg", "png"}));
    graph->add_option("-o,--output", options.output, "File to write; without it, standard output");
    ReplaceOptions replace_options;
    const CLI::App* replace = add_replace(app, replace_options);
    std::vector<std::string> texts;
    const CLI::App* escape =
        add_translation(app, texts, "escape", "Print patterns that match texts as they are");
    const CLI::App* wildcard =
        add_translation(app, texts, "wildcard", "Print patterns for wildcards (* and ?)");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& problem) {
        return app.exit(problem) == 0 ? 0 : 2;
    }
    if (find->parsed()) {
        if (find_options.files.empty()) find_options.files.emplace_back("-");
        return qxre::find(find_options);
    }
    if (replace->parsed()) {
        if (replace_options.files.empty()) replace_options.files.emplace_back("-");
        return qxre::replace(replace_options);
    }
    if (escape->parsed()) return qxre::escape(texts);
    if (wildcard->parsed()) return qxre::wildcard(texts);
    return explain->parsed() ? qxre::explain(options) : qxre::graph(options);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return start(argc, argv);
    } catch (const std::exception& problem) {
        const std::string_view text = problem.what();
        std::fprintf(stderr, "qxre: %s%s", problem.what(), text.ends_with('\n') ? "" : "\n");
        return 2;
    }
}

// messages.cpp - the texts of module 100, English and Japanese side by side.
//
// English texts take printf conversions in argument order; a translation names the arguments by
// position and each exactly once, which the library checks when the language is added. The
// arrays that the library wants are derived from one list while compiling, so that codes,
// mnemonics and texts cannot get out of step.
#include "messages.h"

#include <cstdarg>
#include <iterator>

#include <qxut/util/output.h>

#include "terminal.h"

namespace console {
namespace {

struct Entry {
    const char* mnemonic;
    const char* english;
    const char* japanese;
};

constexpr Entry kEntries[] = {
    {"UNEXPECTED", "Error: \"%s\" was not expected at column %d.",
     "エラー: %2 文字目に予期しない \"%1\" があります。"},
    {"UNFINISHED", "Error: The statement ends at column %d, but something is missing there.",
     "エラー: 文が %1 文字目で終わっていますが、続きが必要です。"},
    {"UNCLOSED_TEXT", "Error: The text that begins at column %d has no closing quote.",
     "エラー: %1 文字目から始まる文字列に閉じ引用符がありません。"},
    {"NESTED_TOO_DEEP", "Error: At column %d more than %d levels are nested.",
     "エラー: %1 文字目で入れ子が %2 段を超えました。"},
    {"LINE_TOO_LONG", "Error: The statement is longer than %d bytes.",
     "エラー: 文の長さが %1 バイトを超えています。"},
    {"UNKNOWN_NAME", "Error: The name \"%s\" is not defined.",
     "エラー: 名前 \"%1\" は定義されていません。"},
    {"UNKNOWN_FUNCTION", "Error: There is no function \"%s\".",
     "エラー: 関数 \"%1\" はありません。"},
    {"WRONG_ARGUMENTS", "Error: Wrong number of arguments (%d); the function is used as %s.",
     "エラー: 引数の数 (%1) が違います。この関数は %2 の形で使います。"},
    {"WRONG_SIZES", "Error: The operands of \"%s\" have %zu and %zu elements.",
     "エラー: \"%1\" の対象の要素数は %2 と %3 で、一致していません。"},
    {"NEEDS_NUMBERS", "Error: \"%s\" works on numbers, not on texts.",
     "エラー: \"%1\" は数値だけを扱います。文字列には使えません。"},
    {"MIXED_KINDS", "Error: \"%s\" cannot combine numbers with texts.",
     "エラー: \"%1\" では数値と文字列を混ぜることができません。"},
    {"BAD_INDEX", "Error: The index %s is not a whole number from 1 to %zu.",
     "エラー: 添字 %1 は 1 から %2 までの整数ではありません。"},
    {"NO_VALUES", "Error: \"%s\" needs at least one value.",
     "エラー: \"%1\" には値が少なくとも 1 つ必要です。"},
    {"BAD_COUNT", "Error: \"%s\" cannot work on %s elements.",
     "エラー: \"%1\" は %2 個の要素を扱えません。"},
    {"NEEDS_TEXT", "Error: \"%s\" works on one text.",
     "エラー: \"%1\" には文字列を 1 つだけ指定してください。"},
    {"NEEDS_TEXTS", "Error: \"%s\" works on texts, not on numbers.",
     "エラー: \"%1\" は文字列だけを扱います。数値には使えません。"},
    {"NEEDS_ONE_VALUE",
     "Error: The expression \"%s\" in a pattern must give one number or text, not %zu.",
     "エラー: パターンの中の式 \"%1\" は数値か文字列を 1 つだけ返す必要があります (%2 個)。"},
    {"EXPRESSIONS_NESTED", "Error: Expressions in patterns are nested more than %d deep.",
     "エラー: パターンの中の式の入れ子が %1 段を超えました。"},
    {"NOT_WHOLE", "Error: \"%s\" works on whole numbers below 2^53, not on %s.",
     "エラー: \"%1\" は絶対値が 2^53 未満の整数だけを扱います。%2 は扱えません。"},
    {"RESERVED_NAME", "Error: \"%s\" belongs to the console and cannot be a variable.",
     "エラー: \"%1\" はコンソールの予約語なので、変数にはできません。"},
    {"COMMAND_USAGE", "Error: The command is used as: %s", "エラー: このコマンドの使い方: %1"},
    {"UNKNOWN_LANGUAGE", "Error: There is no language \"%s\"; there are \"English\" and \"ja\".",
     "エラー: 言語 \"%1\" はありません。\"English\" か \"ja\" を指定してください。"},
    {"FILE_NOT_FOUND", "Error: There is no file \"%s\".",
     "エラー: ファイル \"%1\" が見つかりません。"},
    {"FILE_UNREADABLE", "Error: The file \"%s\" cannot be opened, read or written.",
     "エラー: ファイル \"%1\" を開けないか、読み書きできません。"},
    {"UNKNOWN_ENCODING", "Error: There is no encoding \"%s\".",
     "エラー: 文字コード \"%1\" はありません。"},
    {"CSV_EMPTY", "Error: \"%s\" has no header row.", "エラー: \"%1\" に見出し行がありません。"},
    {"CSV_BAD_NUMBER", "Error: %s, row %zu, column %zu (\"%s\"): \"%s\" is not a number.",
     "エラー: %1 の %2 行 %3 列 (\"%4\"): \"%5\" は数値ではありません。"},
    {"CSV_CELL_COUNT", "Error: %s, row %zu: %zu cells were found, but the header has %zu.",
     "エラー: %1 の %2 行: 見出しは %4 列ですが、セルが %3 個あります。"},
    {"CSV_BAD_QUOTE", "Error: %s, row %zu, column %zu: a quoted cell is not closed properly.",
     "エラー: %1 の %2 行 %3 列: 引用符で囲まれたセルが正しく閉じられていません。"},
    {"CSV_ROW_TOO_LONG", "Error: %s, row %zu is longer than %zu bytes.",
     "エラー: %1 の %2 行が %3 バイトを超えています。"},
    {"INTERRUPTED", "Interrupted.", "中断されました。"},
    {"DIVISION_BY_ZERO", "Division by zero.", "0 で割りました。"},
    {"OUTSIDE_DOMAIN", "\"%s\" is not defined for some of the values; the result there is NaN.",
     "\"%1\" が定義されない値があるため、その結果は NaN になりました。"},
    {"MISSING_CELLS", "%s: Empty cells in column \"%s\" were read as NaN (%zu).",
     "%1: 列 \"%2\" の空のセル (%3 個) を NaN として読み込みました。"},
    {"PATTERN", "%s\n  %s\n  %s^", "%1\n  %2\n  %3^"},
    {"UNMATCHED_PARENTHESIS", "Unmatched '('.", "対応する ')' のない '(' があります。"},
    {"UNMATCHED_BRACKET", "Unmatched '['.", "対応する ']' のない '[' があります。"},
    {"UNMATCHED_BRACE", "Unmatched '{'.", "対応する '}' のない '{' があります。"},
    {"BAD_QUANTIFIER", "Invalid pattern for '{}' quantifier specified.",
     "'{}' の繰り返し指定が正しくありません。"},
    {"UNBOUND_RANGE", "Unbound range.", "範囲の終わりがありません。"},
    {"WORD_BREAK_IN_SET", "Word breaks ('\\<' and '\\>') are treated literally in a set.",
     "集合の中の単語境界 ('\\<' と '\\>') は文字として扱われます。"},
    {"ESCAPED_CHARACTER", "Escaped character '%s' is treated literally in this context.",
     "エスケープされた '%1' はここでは文字として扱われます。"},
    {"LAST_BACKSLASH", "Backslash at end of pattern is treated literally.",
     "末尾のバックスラッシュは文字として扱われます。"},
    {"BRACED_NO_CHARACTER", "Braced expression does not evaluate to a character.",
     "波括弧の中が文字コードではありません。"},
    {"BRACED_TOO_LONG", "Braced expression is too long to evaluate to a character.",
     "波括弧の中の文字コードが大きすぎます。"},
    {"BAD_BACKREFERENCE", "Invalid named token backreference.",
     "名前付きトークンへの参照が正しくありません。"},
    {"BAD_TOKEN_NAME", "Invalid token name specified.", "トークンの名前が正しくありません。"},
    {"NESTED_TOKEN_NAME", "Named tokens in nested parentheses are not supported.",
     "入れ子の括弧の中では名前付きトークンは使えません。"},
    {"UNBOUNDED_LOOKBEHIND",
     "Lookbehind assertion of unbound length takes exponential time to solve.",
     "長さに上限のない後読みは、非常に長い時間がかかることがあります。"},
    {"NO_CONDITION", "No condition specified for if construct.", "条件分岐に条件がありません。"},
    {"BAD_CONDITION", "Invalid condition specified for if construct.",
     "条件分岐の条件が正しくありません。"},
    {"UNKNOWN_EXTENSION", "Unknown extended regular expression.", "不明な拡張構文です。"},
    {"UNKNOWN_MODE_FLAG", "Unknown mode flag.", "不明なモード フラグです。"},
    {"REPEATED_NEGATION", "Mode flag negation may only be specified once.",
     "モード フラグの否定は 1 回だけ指定できます。"},
    {"EVALUATION_DISABLED", "Evaluation is disabled", "式の評価は無効になっています。"},
    {"UNKNOWN_TEMPLATE", "Unknown replace pattern specified, '$' is treated literally.",
     "不明な置換指定です。'$' は文字として扱われます。"},
    {"ERROR", "%s [%s]", "%1 [%2]"},
    {"ERROR_LINE", "%s:%d: %s [%s]", "%1 の %2 行目: %3 [%4]"},
    {"LOADED", "%s: rows %zu, columns of numbers %zu, of texts %zu",
     "%1: %2 行、数値の列 %3、文字列の列 %4"},
    {"CONVERTED", "%s: %s to %s, %zu bytes, %zu characters substituted",
     "%1: %2 から %3 へ変換、%4 バイト、置換 %5 文字"},
    {"ELAPSED", "%.3f ms", "%1 ミリ秒"},
    {"SYMBOL_NUMBER", "  %s: a number", "  %1: 数値"},
    {"SYMBOL_TEXT", "  %s: a text", "  %1: 文字列"},
    {"SYMBOL_NUMBERS", "  %s: numbers (%zu)", "  %1: 数値 (%2 個)"},
    {"SYMBOL_TEXTS", "  %s: texts (%zu)", "  %1: 文字列 (%2 個)"},
    {"MEMORY_IN_USE", "%zu bytes in %zu blocks, at most %zu bytes so far",
     "%2 ブロック、%1 バイトを使用中 (最大 %3 バイト)"},
    {"TRANSCRIBING", "The output is copied to \"%s\".", "出力を \"%1\" にも書き込みます。"},
    {"WELCOME", "A numeric console. \"help\" lists what it understands.",
     "数値計算コンソールです。help で使い方を表示します。"},
    {"HELP",
     "  1/3   2^10   -x   [1 2 3]*2   x > 1 & x < 3   x[2]   x[where(x > 1)]   \"text\"\n"
     "  name = expression\n"
     "  load \"file.csv\"      columns become variables\n"
     "  group expression, ... by expression      counts, sums and means\n"
     "  sum mean median min max std count length unique sort\n"
     "  abs sqrt exp log log10 sin cos floor ceil round where range\n"
     "  union intersection difference          crc md5          detect classify\n"
     "  find(texts, \"pattern\")   matches   tokens   replace   number join\n"
     "  convert \"file\" \"new file\" encoding\n"
     "  language English|ja           warning on|off|error [identifier]\n"
     "  transcript \"file\"|off         echo on|off\n"
     "  time statement                repeat N statement              try statement\n"
     "  clear [name]   who   memory   help   quit",
     "  1/3   2^10   -x   [1 2 3]*2   x > 1 & x < 3   x[2]   x[where(x > 1)]   \"文字列\"\n"
     "  名前 = 式\n"
     "  load \"ファイル.csv\"           列を変数として読み込む\n"
     "  group 式, ... by 式           グループごとの個数、合計、平均\n"
     "  sum mean median min max std count length unique sort\n"
     "  abs sqrt exp log log10 sin cos floor ceil round where range\n"
     "  union intersection difference          crc md5          detect classify\n"
     "  find(文字列, \"パターン\")   matches   tokens   replace   number join\n"
     "  convert \"ファイル\" \"新ファイル\" 文字コード\n"
     "  language English|ja           warning on|off|error [識別子]\n"
     "  transcript \"ファイル\"|off     echo on|off\n"
     "  time 文                       repeat 回数 文                  try 文\n"
     "  clear [名前]   who   memory   help   quit"},
};
constexpr uint32_t kCount = static_cast<uint32_t>(std::size(kEntries));
static_assert(kCount + 1 == static_cast<uint32_t>(Message::end_));

struct Tables {
    ut_message_code codes[kCount + 1]{};
    const char* mnemonics[kCount]{};
    const char* english[kCount]{};
    const char* japanese[kCount]{};

    constexpr Tables() {
        for (uint32_t i = 0; i < kCount; ++i) {
            codes[i] = kModule * 65536u + i + 1;
            mnemonics[i] = kEntries[i].mnemonic;
            english[i] = kEntries[i].english;
            japanese[i] = kEntries[i].japanese;
        }
        codes[kCount] = UT_MESSAGE_CODES_END;
    }
};

// The context keeps the addresses of these records: they have static storage.
constexpr Tables kTables;
constexpr ut_message_table kPrimary = {kCount,          kModule,  kTables.codes, kTables.mnemonics,
                                       kTables.english, "console"};
constexpr ut_translated_table kTranslated = {kModule, kCount, kTables.japanese};
constexpr ut_language_tables kJapanese = {1, &kTranslated};

}  // namespace

void add_messages() {
    _memory_context* memory = utGetMemoryContext();
    ut_mem_add_primary_message_table(memory, &kPrimary);
    int32_t status = 0;
    const ut_message_code position =
        ut_add_builtin_japanese(&status, utGetMessageContext(), memory->reallocate);
    if (status == UT_NO_MEMORY_FOR_MESSAGE_CONTEXT) ut_error(utGetErrorContext(), UT_OUT_OF_MEMORY);
    ut_handle_message_context_error(utGetErrorContext(), ut_error, status, position);
    ut_mem_add_language(memory, "ja", &kJapanese);
}

void change_language(const char* name) {
    int32_t status = 0;
    ut_change_language(&status, utGetMessageContext(), name);
    if (status != 0) raise(Message::unknown_language, name);
}

void format(char* buffer, size_t size, Message message, ...) {
    va_list arguments;
    va_start(arguments, message);
    if (ut_vsprintm(utGetMessageContext(), buffer, size, code(message), arguments) < 0 && size > 0)
        buffer[0] = '\0';
    va_end(arguments);
}

void say(Message message, ...) {
    va_list arguments;
    va_start(arguments, message);
    ut_vprintm(utGetMessageContext(), write_terminal, nullptr, code(message), arguments);
    va_end(arguments);
    utPuts("\n");
}

}  // namespace console

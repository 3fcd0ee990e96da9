// builtin_tables.cpp - every message of the library's own modules, English and Japanese side by
// side. A Japanese text names the arguments of the English one by position, each exactly once.
#include "util/builtin_tables.h"

#include "util/message_table.h"

namespace qxut {
namespace {

// Internal errors of a program's author, and needed before any language is there: English only.
constexpr auto kContextMessages = make_messages<0>({
    {"NO_MEMORY_FOR_MESSAGE_CONTEXT", "Error: Out of memory while growing the message context.",
     nullptr},
    {"MSG_MODULE_COUNT_MISMATCH",
     "Internal Error: A primary message table for module %d was already registered with a "
     "differing number of messages.",
     nullptr},
    {"TOO_FEW_STRINGS",
     "Internal Error: Module %d has only %d string(s) in the table, fewer than the number of "
     "codes.",
     nullptr},
    {"TOO_MANY_STRINGS",
     "Internal Error: Module %d has only %d codes, but the table has more strings than this.",
     nullptr},
    {"WRONG_CODE", "Internal Error: Module %d has a wrong code at entry %d.", nullptr},
    {"STRANDED_PER_CENT",
     "Internal Error: The string for module %d, entry %d, has a %% that is not in a valid "
     "specification.",
     nullptr},
    {"NON_TRIVIAL_PER_CENT",
     "Internal Error: The string for module %d, entry %d, has a %%%% with a non-trivial "
     "specifier.",
     nullptr},
    {"NON_TRIVIAL_S",
     "Internal Error: The string for module %d, entry %d, has a %%s with a non-trivial "
     "specifier.",
     nullptr},
    {"HOLE_NOT_PRESENT",
     "Internal Error: The string for module %d, entry %d, has a hole not in the English "
     "counterpart.",
     nullptr},
    {"DUPLICATE_REFERENCE",
     "Internal Error: The string for module %d, entry %d, has a duplicate reference to a hole.",
     nullptr},
    {"ILLEGAL_PER_CENT",
     "Internal Error: The string for module %d, entry %d, has %% not followed by a digit or "
     "another %%.",
     nullptr},
    {"OMITTED_HOLE",
     "Internal Error: The string for module %d, entry %d, ignores a hole in the English "
     "counterpart.",
     nullptr},
    {"BAD_MSG_CODE",
     "Internal Error: Attempt to format a message for an unregistered module %d entry %d.",
     nullptr},
    {"MSG_MODULE_TABLE_MISMATCH",
     "Internal Error: A primary message table for module %d was already registered with a "
     "differing collection of error messages.",
     nullptr},
    {"INVALID_PERCENT_U",
     "Internal Error: The string for module %d, entry %d, has a %%<LEX_FILE_LINE_COLUMN> with a "
     "non-trivial specifier.",
     nullptr},
});

constexpr auto kErrorMessages = make_messages<1>({
    {"ASSERTION_FAULT", "Assertion fault \"%s\" in file \"%s\", line %d.",
     "ファイル \"%2\" の %3 行目でアサーション \"%1\" が失敗しました。"},
    {"INCORRECT_MAGIC",
     "Internal Error: Incorrect use of magic macros discovered at file \"%s\", line %d.",
     "内部エラー: ファイル \"%1\" の %2 行目でマジックマクロの誤った使用が検出されました。"},
    {"ERR_RETHROW", "%s", "%1"},
    {"ERR_SIGNAL_INTERRUPT", "", ""},
    {"ERR_VALUE_OVERFLOW_TYPE",
     "Maximum variable size allowed by the program is exceeded.\n"
     "Value of type \"%s\" cannot be represented as type \"%s\" in file \"%s\", line %d.\n(%s).",
     "プログラムで許容される変数の最大サイズを超えました。\n"
     "ファイル \"%3\" の %4 行目で、型 \"%1\" の値を型 \"%2\" で表すことができません。\n(%5)。"},
    {"ERR_UNSUPPORTED_FP_FMT",
     "Encountered unsupported floating point format. Expected IEEE little endian or big endian "
     "format, encountered VAX or Cray floating point format.",
     "サポートされていない浮動小数点形式が検出されました。IEEE のリトルエンディアン形式または"
     "ビッグエンディアン形式が必要ですが、VAX または Cray の浮動小数点形式が検出されました。"},
    {"ERR_FATAL", "", ""},
});

constexpr auto kMemoryMessages = make_messages<2>({
    {"OUT_OF_MEMORY", "Error: Out of memory.", "エラー: メモリが不足しています。"},
});

constexpr auto kHashMessages = make_messages<3>({
    {"HASH_INVALID_LOWER_LOAD_BOUND",
     "Internal Error: Load factor lower bound must be greater than or equal to 0.",
     "内部エラー: 負荷率の下限は 0 以上でなければなりません。"},
    {"HASH_INVALID_UPPER_LOAD_BOUND",
     "Internal Error: Load factor upper bound must be greater than 0.",
     "内部エラー: 負荷率の上限は 0 より大きくなければなりません。"},
    {"HASH_INVALID_LOAD_BOUND_RANGE",
     "Internal Error: Load factor upper bound must be greater than lower bound.",
     "内部エラー: 負荷率の上限は下限より大きくなければなりません。"},
});

constexpr auto kFpcMessages = make_messages<25>({
    {"FPC_BUFFER_TOO_SMALL",
     "Internal Error: Cannot format a floating point number using the specified buffer size of "
     "%ld characters, %ld would be required to format this number",
     "内部エラー: 指定された %1 文字のバッファーでは浮動小数点数を書式化できません。"
     "この数の書式化には %2 文字が必要です"},
});

constexpr auto kWarningMessages = make_messages<4>({
    {"WARN_ALL", "All warnings.", "すべての警告。"},
    {"WARNING_HINT", "(Type \"warning off %s\" to suppress this warning.)",
     "(この警告を表示しないようにするには \"warning off %1\" と入力してください。)"},
    {"WARNING_TEXT", "Warning: %s", "警告: %1"},
});

constexpr auto kGtableMessages = make_messages<34>({
    {"GTABLE_DELETE_GTABLE",
     "Internal Error: The second argument to delete_gtable is not a generic table.",
     "内部エラー: delete_gtable の第 2 引数が汎用テーブルではありません。"},
});

constexpr auto kArrayMessages = make_messages<40>({
    {"ARRAY_INVALID_DATASIZE", "Internal Error: Size of array data elements must be non-zero.",
     "内部エラー: 配列のデータ要素のサイズは 0 以外でなければなりません。"},
});

constexpr auto kRegexpMessages = make_messages<41>({
    {"REGEXP_REPEATED_MODE_FLAG", "Repeated mode flag.", "モードフラグが重複しています。"},
    {"REGEXP_PROGRAM_TOO_LARGE",
     "The regular expression is too large: its program limit of %llu instructions was exceeded at "
     "position %llu of the pattern.",
     "正規表現が大きすぎます: パターンの位置 %2 で、プログラムの上限である %1 "
     "命令を超えました。"},
    {"REGEXP_STEP_LIMIT",
     "The search with a regular expression exceeded its step limit of %llu at position %llu of the "
     "text.",
     "正規表現による検索が、テキストの位置 %2 でステップ数の上限 %1 を超えました。"},
    {"REGEXP_MEMORY_LIMIT",
     "The search with a regular expression exceeded its memory limit of %llu bytes at position "
     "%llu of the text.",
     "正規表現による検索が、テキストの位置 %2 でメモリの上限 %1 バイトを超えました。"},
    {"REGEXP_DEPTH_LIMIT",
     "The search with a regular expression exceeded its limit of %llu nested dynamic patterns at "
     "position %llu of the text.",
     "正規表現による検索が、テキストの位置 %2 で動的パターンの入れ子の上限 %1 を超えました。"},
});

constexpr ut_translated_table kJapaneseTables[] = {
    kErrorMessages.translated(),   kMemoryMessages.translated(), kHashMessages.translated(),
    kWarningMessages.translated(), kFpcMessages.translated(),    kGtableMessages.translated(),
    kArrayMessages.translated(),   kRegexpMessages.translated(),
};

}  // namespace

constexpr ut_message_table message_context_table = kContextMessages.primary("message_context");
constexpr ut_message_table error_message_table = kErrorMessages.primary("error");
constexpr ut_message_table memory_message_table = kMemoryMessages.primary("memory");
constexpr ut_message_table hash_message_table = kHashMessages.primary("hash");
constexpr ut_message_table warning_message_table = kWarningMessages.primary("warning");
constexpr ut_message_table fpc_message_table = kFpcMessages.primary("fpc");
constexpr ut_message_table gtable_message_table = kGtableMessages.primary("gtable");
constexpr ut_message_table array_message_table = kArrayMessages.primary("array");
constexpr ut_message_table regexp_message_table = kRegexpMessages.primary("regexp");

constexpr ut_language_tables builtin_japanese = {sizeof kJapaneseTables / sizeof kJapaneseTables[0],
                                                 kJapaneseTables};

}  // namespace qxut

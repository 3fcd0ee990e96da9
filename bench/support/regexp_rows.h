// regexp_rows.h - the patterns of the benchmarks, each with the texts that it is searched in.
//
// The patterns keep to what all dialects share: captures not nested, escapes that mean the same
// everywhere, modes given as flags. What a pattern finds in a text must be the same for all.
#ifndef QXUT_BENCH_SUPPORT_REGEXP_ROWS_H
#define QXUT_BENCH_SUPPORT_REGEXP_ROWS_H

#include "support/regexp_texts.h"

namespace qxut_bench {

struct RegexpRow {
    const char* name;
    Subject subject;
    RegexpPattern pattern;
};

inline constexpr RegexpRow kRegexpRows[] = {
    {"literal", Subject::english, {u"Sherlock Holmes"}},
    {"literal", Subject::russian, {u"Шерлок Холмс"}},
    {"literal", Subject::chinese, {u"夏洛克·福尔摩斯"}},
    {"literal", Subject::log, {u"connection reset"}},
    {"ignoring_case", Subject::english, {u"sherlock holmes", RE_IGNORE_CASE}},
    {"ignoring_case", Subject::russian, {u"шерлок холмс", RE_IGNORE_CASE}},
    {"ignoring_case", Subject::log, {u"error", RE_IGNORE_CASE}},
    {"rare_words",
     Subject::english,
     {u"Sherlock Holmes|John Watson|Irene Adler|Inspector Lestrade|Professor Moriarty"}},
    {"rare_words",
     Subject::russian,
     {u"Шерлок Холмс|Джон Уотсон|Ирен Адлер|инспектор Лестрейд|профессор Мориарти"}},
    {"rare_words", Subject::chinese, {u"夏洛克·福尔摩斯|约翰华生|阿德勒|雷斯垂德|莫里亚蒂教授"}},
    {"frequent_words", Subject::english, {u"that|what|with|have|know"}},
    {"frequent_words", Subject::russian, {u"что|это|как|все|нет"}},
    {"frequent_words", Subject::chinese, {u"我们|什么|没有|知道|他们"}},
    {"twenty_words",
     Subject::english,
     {u"morning|evening|doctor|mother|father|brother|sister|friend|captain|police|money|house|"
      u"school|window|street|water|horse|train|letter|garden"}},
    {"suffix", Subject::english, {u"[a-z]+ing"}},
    {"email", Subject::log, {u"[\\w.+\\-]+@[\\w.\\-]+\\.[\\w.\\-]+"}},
    {"email", Subject::english, {u"[\\w.+\\-]+@[\\w.\\-]+\\.[\\w.\\-]+"}},
    {"uri", Subject::log, {u"\\w+://[^/\\s?#]+[^\\s?#]+(?:\\?[^\\s#]*)?(?:#[^\\s]*)?"}},
    {"ipv4",
     Subject::log,
     {u"(?:(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)\\.){3}(?:25[0-5]|2[0-4][0-9]|[01]?[0-9]"
      u"[0-9]?)"}},
    {"date", Subject::log, {u"(\\d{4})-(\\d{2})-(\\d{2})"}},
    {"date", Subject::english, {u"(\\d{4})-(\\d{2})-(\\d{2})"}},
    {"word_pairs", Subject::english, {u"\\w+\\s+\\w+"}},
    {"word_pairs", Subject::russian, {u"\\w+\\s+\\w+"}},
    {"length", Subject::english, {u"[A-Za-z]{8,13}"}},
    {"cyrillic", Subject::russian, {u"[А-Яа-яё]+"}},
    {"cyrillic", Subject::english, {u"[А-Яа-яё]+"}},
    {"han", Subject::chinese, {u"[一-龥]+"}},
    {"look_ahead", Subject::english, {u"[A-Za-z]+(?=\\?)"}},
    {"look_behind", Subject::english, {u"(?<=Mr\\. )[A-Z]\\w+"}},
    {"repeated", Subject::english, {u"(\\w)\\1"}},
    {"possessive", Subject::english, {u"[A-Za-z]++[.!?]"}},
    {"atomic", Subject::log, {u"(?>[a-z]+|\\d+)[:=]"}},
    {"key_value", Subject::log, {u"(\\w+)=(\"[^\"]*\"|\\S+)"}},
    {"multi_line", Subject::log, {u"^.*ERROR.*$", RE_MULTI_LINE}},
    {"multi_line", Subject::english, {u"^- .*\\?$", RE_MULTI_LINE}},
    {"dot_all", Subject::log, {u"begin tx.*?commit tx \\d+", RE_DOT_ALL}},
    {"lazy", Subject::log, {u"\".*?\""}},
};

}  // namespace qxut_bench

#endif

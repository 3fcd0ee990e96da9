// regexp_texts.h - the texts that patterns are searched in: those of texts.h, and a made log.
#ifndef QXUT_BENCH_SUPPORT_REGEXP_TEXTS_H
#define QXUT_BENCH_SUPPORT_REGEXP_TEXTS_H

#include <qxut/i18n/conversion.h>
#include <qxut/util/heap.h>

#include <cstddef>
#include <cstdio>
#include <random>
#include <string>

#include "support/regexp_engines.h"
#include "support/texts.h"

namespace qxut_bench {

// Lines of a server's log with dates, addresses, mails, links, quoted texts, key=value pairs, and
// every so often a transaction that spans lines.
inline std::string log_text(size_t size) {
    static constexpr const char* kLevels[] = {"INFO", "INFO", "INFO", "DEBUG", "WARN", "ERROR"};
    static constexpr const char* kUsers[] = {"alice", "bob.smith", "carol", "dave-42", "erin"};
    static constexpr const char* kMessages[] = {"request done", "connection reset by peer",
                                                "cache miss, reading again", "timeout",
                                                "user logged in"};
    std::mt19937 random(3);
    const auto below = [&random](unsigned n) { return static_cast<unsigned>(random() % n); };
    std::string log;
    unsigned transaction = 0;
    while (log.size() < size) {
        char line[400];
        const auto add = [&](auto... arguments) {
            const int length = std::snprintf(line, sizeof(line), arguments...);
            log.append(line, static_cast<size_t>(length));
        };
        add("2024-%02u-%02uT%02u:%02u:%02u.%03u %s %u.%u.%u.%u ", 1 + below(12), 1 + below(28),
            below(24), below(60), below(60), below(1000), kLevels[below(6)], below(256), below(256),
            below(256), below(256));
        const char* const user = kUsers[below(5)];
        switch (below(4)) {
            case 0:
                add("user=%s id=%u mail=%s@example%u.org", user, below(100000), user, below(50));
                break;
            case 1:
                add("GET https://www.example%u.org/items/%u?page=%u#top status=%u", below(50),
                    below(10000), below(20), 200 + below(300));
                break;
            case 2:
                add("message=\"%s\" duration=%ums", kMessages[below(5)], below(5000));
                break;
            default:
                add("worker %u: \"%s\", queue length %u", below(32), kMessages[below(5)],
                    below(900));
        }
        log += '\n';
        if (below(40) == 0) {
            ++transaction;
            add("begin tx %u\n  update accounts set balance=%u\n  where id=%u\ncommit tx %u\n",
                transaction, below(100000), below(1000), transaction);
        }
    }
    return log;
}

inline RegexpText regexp_text(const std::string& utf8) {
    RegexpText text;
    char16_t* const units = utf8_to_utf16(utf8.data(), static_cast<uint32_t>(utf8.size()));
    text.utf16 = units;
    utFree(units);
    text.wide = widen(text.utf16);
    return text;
}

enum class Subject { english, russian, chinese, log, line };

inline const char* subject_name(Subject subject) {
    static constexpr const char* kNames[] = {"english", "russian", "chinese", "log", "line"};
    return kNames[static_cast<int>(subject)];
}

// Made at first use and kept.
inline const RegexpText& regexp_subject(Subject subject) {
    switch (subject) {
        case Subject::english: {
            static const RegexpText text = regexp_text(text_in(Language::english));
            return text;
        }
        case Subject::russian: {
            static const RegexpText text = regexp_text(text_in(Language::russian));
            return text;
        }
        case Subject::chinese: {
            static const RegexpText text = regexp_text(text_in(Language::chinese));
            return text;
        }
        case Subject::log: {
            static const RegexpText text = regexp_text(log_text(2'000'000));
            return text;
        }
        case Subject::line:
            break;
    }
    static const RegexpText text =
        regexp_text("The invoice of 2024-03-17 was sent to alice@example.org on Monday.");
    return text;
}

}  // namespace qxut_bench

#endif

// line_search.h - a search in which each line of the text is a text of its own.
#ifndef QXUT_SRC_REGEXP_LINE_SEARCH_H
#define QXUT_SRC_REGEXP_LINE_SEARCH_H

#include "regexp/matcher_run.h"
#include "regexp/start_cursor.h"

namespace qxut::regexp {

// The first match from the request's start on; false when there is none. The backtracker holds what
// it matched, the request gets the line.
bool search_lines(SearchRequest& request, Backtracker& backtracker, const SeekPoll& poll);

}  // namespace qxut::regexp

#endif

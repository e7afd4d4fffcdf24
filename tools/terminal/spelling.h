// Help with mistyped words: which known word the user probably meant.
//
// Commands use it for options, sub-commands and property keys, each with its own limit of edits.
#ifndef ZEPASIGN_TOOLS_TERMINAL_SPELLING_H_
#define ZEPASIGN_TOOLS_TERMINAL_SPELLING_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zepasign::tools {

// nearestWord: the known word that takes the fewest edits to reach from `word`; empty when it takes more than
// `maxEdits`. An edit inserts, deletes or replaces one byte; the case of ASCII letters does not matter. Of several
// equally near words the first one. The result is a copy. A Chinese character counts as its bytes. The cost is the
// product of the two lengths for each known word, so the list should be short. Any thread may call it.
[[nodiscard]] std::string nearestWord(std::string_view word, const std::vector<std::string>& known,
                                      std::size_t maxEdits);

}  // namespace zepasign::tools

#endif  // ZEPASIGN_TOOLS_TERMINAL_SPELLING_H_

// The page of a report, without the data: the files of the folder page as one text.
#ifndef ZT_INSPECT_PAGE_HH
#define ZT_INSPECT_PAGE_HH

#include <string_view>

namespace ztinspect {

// Where the data belongs in it.
constexpr std::string_view pageDataMark = "(data)\n";

extern const std::string_view pageText;

}  // namespace ztinspect

#endif

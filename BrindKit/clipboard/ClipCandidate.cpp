#include "BrindKit/clipboard/ClipCandidate.hpp"

namespace brind {

std::int64_t ClipCandidate::byteSize() const {
    std::size_t total = 0;
    if (text)
        total += text->size();
    if (rtf)
        total += rtf->size();
    if (image)
        total += image->size();
    for (const std::string& url : fileURLs)
        total += url.size();
    return static_cast<std::int64_t>(total);
}

} // namespace brind

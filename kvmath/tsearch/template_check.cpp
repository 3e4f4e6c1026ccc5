#include <kvmath/tsearch/template_check_p.h>

#include <kvmath/tsearch/template.h>

namespace KvMath::Internal {

bool templateCheck(LinePP* lines, int* assignment, int level, void* templ) {
    return static_cast<const TSTemplate*>(templ)->check(lines, assignment, level);
}

}  // namespace KvMath::Internal

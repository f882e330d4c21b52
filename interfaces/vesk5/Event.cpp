#include "vesk5/Event.h"

namespace vesk5 {

zul::String Event::text() const {
    const LocalizedStringSpec* spec = LocalizedStringSpec::find(name_);
    return spec ? variables_.fill(spec->templateText()) : name_.zulString();
}

} // namespace vesk5

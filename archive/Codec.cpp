#include "archive/Codec.h"

namespace vellomir::archive {

std::unique_ptr<Codec> makeCodec(Codec::Operation operation) {
#ifdef VELLOMIR_ISAL
    if (operation == Codec::Operation::decode)
        return makeIsalInflater();
#endif
    return makeZlibCodec(operation);
}

} // namespace vellomir::archive

#include "TagLibFields.h"

extern "C" __attribute__((visibility("default"))) const TagLibrary* corvantisTagLibrary1() {
    static const TagLibrary library{&readTagFields, &readTagFrontCover, &readLibraryFile};
    return &library;
}

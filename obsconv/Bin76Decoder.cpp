#include "obsconv/Bin76Decoder.h"

void OnBin76(const uint8_t* /*frame*/)
{
    // The BIN76 decoder is being written; until then the frame is only counted.
}

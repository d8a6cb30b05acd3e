#pragma once

// The trace hook: diagnostic texts of the conversion are handed here and go
// nowhere. Keeping the calls documents what the code would report on a
// debugging build, without touching any file or stream.
inline void TraceMsg(const char* /*format*/, ...) {}

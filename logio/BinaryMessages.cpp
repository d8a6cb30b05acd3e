#include "logio/BinaryMessages.h"

SStoredMessages g_StoredMessages{};

#pragma once

#include "quonutil/collections/List.h"
#include "quonutil/text/EncodedString.h"

/// `text` with its placeholders replaced by `inserts`, one insert after the other: see CUL_Message.
EncodedString substitute(EncodedString const& text, List<EncodedString*> const& inserts);

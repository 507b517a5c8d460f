#pragma once

#include "quarnet/core/RequestBundle.h"

namespace quarnet::tools {

/// Whether the call that was prepared last goes without the parameters of its bundle, because no
/// key to encrypt them with could be had.
bool parametersWereDropped(const RequestBundle& bundle);

void tellDroppedParameters();

/// Tells that an answer came and is no text, so that there is nothing to show.
void tellMissingText();

} // namespace quarnet::tools

// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

// Everything public in glissa, for hosts that prefer one include. The library itself names what it
// needs.

#include "glissa/curve/curve.h"
#include "glissa/curve/event.h"
#include "glissa/curve/key.h"
#include "glissa/curve/key_list.h"
#include "glissa/curve/memory.h"
#include "glissa/curve/modify_bracket.h"
#include "glissa/curve/tangent_math.h"
#include "glissa/export.h"
#include "glissa/ext/color_manager.h"
#include "glissa/ext/custom_tangent.h"
#include "glissa/ext/custom_tangent_events.h"
#include "glissa/ext/custom_tangent_manager.h"
#include "glissa/ext/invalid_key_manager.h"
#include "glissa/filter/butterworth.h"
#include "glissa/filter/curve_filter.h"
#include "glissa/filter/data_filter.h"
#include "glissa/filter/filter.h"
#include "glissa/filter/gaussian.h"
#include "glissa/filter/offset.h"
#include "glissa/filter/peak_remover.h"
#include "glissa/filter/smooth.h"
#include "glissa/node/candidate_state.h"
#include "glissa/node/eti.h"
#include "glissa/node/layer.h"
#include "glissa/node/lock_query.h"
#include "glissa/node/node.h"
#include "glissa/node/node_event.h"
#include "glissa/settings/settings.h"
#include "glissa/utils/utils.h"

// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

// All public headers of corvekit, for hosts that prefer one include. The library itself includes
// single headers.

#include "corvekit/array.h"
#include "corvekit/assert.h"
#include "corvekit/bitset.h"
#include "corvekit/error.h"
#include "corvekit/event/entry_list.h"
#include "corvekit/event/event.h"
#include "corvekit/event/listener_list.h"
#include "corvekit/event/named_event.h"
#include "corvekit/event/operation.h"
#include "corvekit/export.h"
#include "corvekit/math/elementary.h"
#include "corvekit/math/matrix.h"
#include "corvekit/math/quaternion.h"
#include "corvekit/math/rotation_order.h"
#include "corvekit/math/vector.h"
#include "corvekit/object/class_definition.h"
#include "corvekit/object/class_frame.h"
#include "corvekit/object/data_type.h"
#include "corvekit/object/holder.h"
#include "corvekit/object/iobject.h"
#include "corvekit/object/object.h"
#include "corvekit/object/plug.h"
#include "corvekit/object/property.h"
#include "corvekit/pool.h"
#include "corvekit/set.h"
#include "corvekit/store/atomic_file.h"
#include "corvekit/store/byte_buffer.h"
#include "corvekit/store/tdf.h"
#include "corvekit/string.h"
#include "corvekit/time.h"
#include "corvekit/trace.h"

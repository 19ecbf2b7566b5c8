# The headers that hosts include, in the order of the folders. This list is what is installed, what
# the umbrella headers name and what is compiled alone. A header that is not for hosts says so in
# its third line and is not listed; a test compares the list with the tree.

set(CORVEKIT_PUBLIC_HEADERS
    corvekit/array.h
    corvekit/assert.h
    corvekit/bitset.h
    corvekit/corvekit.h
    corvekit/error.h
    corvekit/export.h
    corvekit/pool.h
    corvekit/set.h
    corvekit/string.h
    corvekit/time.h
    corvekit/trace.h
    corvekit/object/class_definition.h
    corvekit/object/class_frame.h
    corvekit/object/data_type.h
    corvekit/object/holder.h
    corvekit/object/iobject.h
    corvekit/object/object.h
    corvekit/object/plug.h
    corvekit/object/property.h
    corvekit/event/entry_list.h
    corvekit/event/event.h
    corvekit/event/named_event.h
    corvekit/math/matrix.h
    corvekit/math/quaternion.h
    corvekit/math/rotation_order.h
    corvekit/math/vector.h
    corvekit/store/byte_buffer.h
    corvekit/store/tdf.h)

set(GLISSA_PUBLIC_HEADERS
    glissa/export.h
    glissa/glissa.h
    glissa/settings/settings.h
    glissa/ext/custom_tangent.h
    glissa/ext/custom_tangent_events.h
    glissa/ext/custom_tangent_manager.h
    glissa/ext/invalid_key_manager.h
    glissa/curve/curve.h
    glissa/curve/event.h
    glissa/curve/key.h
    glissa/curve/key_list.h
    glissa/curve/memory.h
    glissa/curve/modify_bracket.h
    glissa/curve/tangent_math.h
    glissa/node/candidate_state.h
    glissa/node/eti.h
    glissa/node/layer.h
    glissa/node/lock_query.h
    glissa/node/node.h
    glissa/node/node_event.h)

-- Looks things up in the dictionary's tables, which `zel dict wireshark` writes before this; and tells into which slot of a
-- message a receiver puts each field.
--
-- dictionary.fields: by id {name, type, length, version, text}; the length is 0 for values that carry their own.
-- dictionary.messages: {type, sub_type, name, fields = {ids in order}}, with a group also count_id (the id of the field
-- that counts the repetitions), group_first (the place of its first entry in fields) and group_size.
local slots = {}
do
    local floor = math.floor

    -- The field that marks the start of each repetition in groups that list it.
    slots.MARKER = 140
    -- A message with more slots cannot be received.
    slots.MOST = 32767

    dictionary.highest_id = 0
    for id in pairs(dictionary.fields) do
        dictionary.highest_id = math.max(dictionary.highest_id, id)
    end

    local by_type = {}
    local function key_of(type, sub_type)
        return type * 65536 + sub_type
    end
    for _, message in ipairs(dictionary.messages) do
        by_type[key_of(message.type, message.sub_type)] = message
    end

    -- Entries are counted from 0. Without a group all of them are before it.
    local function part_of(message, entry)
        if not message.count_id or entry < message.group_first - 1 then
            return "before"
        end
        return entry < message.group_first - 1 + message.group_size and "inside" or "behind"
    end

    -- Adds the places of each id's entries, and the number of markers up to each entry.
    local function prepare(message)
        message.places, message.markers, message.group_markers = {}, {}, 0
        local markers = 0
        for i, id in ipairs(message.fields) do
            local part = part_of(message, i - 1)
            local places = message.places[id] or {before = {}, inside = {}, behind = {}}
            message.places[id] = places
            table.insert(places[part], i - 1)
            if id == slots.MARKER then
                markers = markers + 1
                message.group_markers = message.group_markers + (part == "inside" and 1 or 0)
            end
            message.markers[i - 1] = markers
        end
        for _, places in pairs(message.places) do
            local first = places.before[1]
            places.is_single = first and message.markers[first] == 0
                and #places.before == 1 and #places.inside == 0 and #places.behind == 0
        end
    end

    -- The message of a type and sub-type, or nil.
    function dictionary.message(type, sub_type)
        local message = by_type[key_of(type, sub_type)]
        if message and not message.places then
            prepare(message)
        end
        return message
    end

    -- The slots of a message with so many repetitions, or nil. Without a repetition the group's fields fill all slots that
    -- are left after the count.
    function slots.new(message, repetitions)
        local group_size = message.count_id and message.group_size or 0
        local count = #message.fields + (message.count_id and (repetitions - 1) * group_size or 0)
        if count > slots.MOST or message.count_id and repetitions < 0 then
            return nil
        end
        local in_group = repetitions * group_size
        if message.count_id and repetitions == 0 then
            in_group = count - (message.group_first - 1)
        end
        return {message = message, repetitions = repetitions, count = count, in_group = in_group, passed = {}, received = 0}
    end

    -- The repetition of the n-th slot of an id (from 0), or 0 outside the group, and its entry; nil when there is none.
    local function find_slot(all, places, n)
        local before, inside = #places.before, #places.inside
        if n < before then
            return 0, places.before[n + 1]
        end
        n = n - before
        if inside > 0 then
            local message = all.message
            local repetition, entry = floor(n / inside), places.inside[n % inside + 1]
            if repetition * message.group_size + entry - (message.group_first - 1) < all.in_group then
                return repetition + 1, entry
            end
            n = n - all.repetitions * inside
        end
        if all.message.count_id and all.repetitions == 0 then
            return nil
        end
        local entry = places.behind[n + 1]
        return entry and 0, entry
    end

    -- The markers at or before a slot.
    local function markers_at(all, places, repetition, entry)
        local message = all.message
        local markers = message.markers[entry]
        if repetition > 0 then
            return markers + (repetition - 1) * message.group_markers
        end
        local is_behind = places.behind[1] and entry >= places.behind[1]
        return is_behind and markers + (all.repetitions - 1) * message.group_markers or markers
    end

    -- The repetition (0: outside the group) of the slot that a field with this id takes: the first free one with as many
    -- markers at or before it as have arrived. Nil when there is none. Each slot of an id is looked at once in all.
    function slots.take(all, id)
        if id == slots.MARKER then
            all.received = all.received + 1
        end
        local places = all.message.places[id]
        if not places then
            return nil
        end
        local n = all.passed[id] or 0
        -- Most fields have one slot, before the group and all markers.
        if places.is_single and all.received == 0 then
            all.passed[id] = 1
            return n == 0 and 0 or nil
        end
        local repetition, entry = find_slot(all, places, n)
        while entry do
            local markers = markers_at(all, places, repetition, entry)
            if markers > all.received then
                break
            end
            n = n + 1
            all.passed[id] = n
            if markers == all.received then
                return repetition
            end
            repetition, entry = find_slot(all, places, n)
        end
        return nil
    end

    -- The id and the repetition of a slot, counted from 0.
    function slots.at(all, index)
        local message = all.message
        local group_first = message.count_id and message.group_first - 1 or all.count
        if index < group_first then
            return message.fields[index + 1], 0
        end
        if index < group_first + all.in_group then
            local in_group = index - group_first
            return message.fields[message.group_first + in_group % message.group_size],
                floor(in_group / message.group_size) + 1
        end
        return message.fields[index + 1 - (all.repetitions - 1) * message.group_size], 0
    end

    -- How many slots a sender of this version packs: it leaves out newer fields, but none in version 0.
    function slots.packed(all, version)
        local packed = all.count
        for index = 0, version == 0 and -1 or all.count - 1 do
            local id = slots.at(all, index)
            if dictionary.fields[id].version > version then
                packed = packed - 1
            end
        end
        return packed
    end
end

-- The fields of a payload in order, each under the repetition into which a receiver puts it. What the library would
-- refuse or skip is marked at its bytes.
local payload = {}
do
    local format = string.format
    local read_word = values.read_word

    local ID_AND_VALUE, VALUE_ONLY, ID_LENGTH_AND_VALUE = 0, 1, 2
    local NO_ID = 65535

    -- The state of a walk over the fields. Data and tvb hold the same bytes, counted from 1 and from 0. The next field is at
    -- `at`, the last byte at `last`. Without `slots` the message is unknown, and fields have no repetition.
    local function new_walk(tree, tvb, data, at, header)
        return {tree = tree, tvb = tvb, data = data, at = at, last = #data, header = header, branches = {},
            has_lengths = header.format == ID_LENGTH_AND_VALUE}
    end

    -- The range of data[first] to data[last].
    local function range_of(walk, first, last)
        return walk.tvb(first - 1, last - first + 1)
    end

    -- Adds the bytes from `first` to the end as unreadable, with the reason.
    local function give_up(walk, first, problem, text)
        local item = walk.tree:add(filter_fields.undecoded, range_of(walk, first, walk.last))
        item:add_proto_expert_info(problem, text)
        return false
    end

    -- The place and size of the value after the id at `at`; in format 1, of the value at `at`. Nil when its length is cut off.
    -- A length comes before every value in format 2, and before values of variable length. An unused id below the highest
    -- one counts as one of those.
    local function locate(walk, at, field)
        local length = walk.has_lengths and 0 or field and field.length or 0
        if length ~= 0 then
            return at, length
        end
        return at + 2, read_word(walk.data, at)
    end

    -- Whether the field after one with this id cannot be found.
    local function hides_next(walk, id, field)
        return not field and walk.header.format == ID_AND_VALUE and (id > dictionary.highest_id or id == 0)
    end

    local function title(id, field)
        return field and field.name or "Field " .. id
    end

    -- The subtree of a repetition, made for its first field.
    local function branch_of(walk, repetition, first, last)
        local branch = walk.branches[repetition]
        if not branch then
            local count_field = dictionary.fields[walk.count_id]
            local item = walk.tree:add(filter_fields.repetition, range_of(walk, first, last), repetition,
                format("Repetition %d of %s", repetition, count_field.name))
            branch = {item = item, first = first}
            walk.branches[repetition] = branch
        end
        branch.last = last
        return branch.item
    end

    local function close_branches(walk)
        for _, branch in pairs(walk.branches) do
            branch.item:set_len(branch.last - branch.first + 1)
        end
    end

    -- Marks the field that counts more repetitions than a receiver takes.
    local function check_repetitions(walk, item)
        if not walk.has_count and not walk.slots then
            item:add_proto_expert_info(problems.repetitions_bad,
                format("A message of %d repetitions cannot be received", walk.repetitions))
        end
        walk.has_count = true
    end

    local function add_unknown(tree, walk, id, at, size)
        local item = tree:add(filter_fields.unknown_field, range_of(walk, at, at + size - 1))
        item:set_text(format("Field %d: %s", id, value_text.bytes(walk.data, at, size)))
        return item
    end

    -- Adds the field whose bytes begin at `first`, with its value of `size` bytes at `at`.
    local function add_field(walk, id, field, first, at, size, repetition)
        local tree = walk.tree
        if repetition and repetition > 0 then
            tree = branch_of(walk, repetition, first, at + size - 1)
        end
        if not field then
            local item = add_unknown(tree, walk, id, at, size)
            item:add_proto_expert_info(problems.field_unknown, format("The dictionary does not have the field %d", id))
            return item
        end
        local type_size = field.size or size
        if size < type_size then
            local item = add_unknown(tree, walk, id, at, size)
            item:add_proto_expert_info(repetition and problems.field_short or problems.field_unlisted,
                format("%s has a value of %d bytes; its type has %d", field.name, size, type_size))
            return item
        end
        local item = field.add(tree, range_of(walk, first, at + size - 1), field, walk.data, at, size, walk.tvb)
        if size > type_size then
            item:add_proto_expert_info(problems.field_long,
                format("%s has a value of %d bytes; cut to its type", field.name, size))
        end
        if field.holds_stream then
            streams.add(item, walk.tvb, walk.data, at, at + size - 1)
        end
        return item
    end

    -- A field whose length is unknown.
    local function lose(walk, first, id, found)
        local text = format("The dictionary does not have the field %d: it and the fields after it cannot be read", id)
        -- A receiver refuses the message if the number of repetitions may follow this field.
        local has_more = found + 1 < walk.header.field_count
        local hides_count = walk.count_id and not walk.has_count and has_more
        return give_up(walk, first, hides_count and problems.field_lost or problems.field_unknown, text)
    end

    -- Adds the field with this id at the walk's place, whose value or length is at `at`, and moves past it. When it runs past
    -- the end, adds that and returns nil.
    local function take_field(walk, id, field, at, repetition)
        local first = walk.at
        local value_at, size = locate(walk, at, field)
        if not size or value_at + size - 1 > walk.last then
            give_up(walk, first, problems.field_cut, format("%s runs past the end of the payload", title(id, field)))
            return nil
        end
        local item = add_field(walk, id, field, first, value_at, size, repetition)
        if id == walk.count_id then
            check_repetitions(walk, item)
        end
        walk.at = value_at + size
        return item
    end

    -- Reads the field at the walk's place in the formats 0 and 2. When the walk must end there, adds why and returns false.
    local function read_field(walk, found)
        local first = walk.at
        local id = read_word(walk.data, first)
        if not id or id == NO_ID then
            return give_up(walk, first, problems.field_cut, id and "The id 65535 is invalid" or "The payload ends within an id")
        end
        local field = dictionary.fields[id]
        if hides_next(walk, id, field) then
            return lose(walk, first, id, found)
        end
        local repetition = walk.slots and slots.take(walk.slots, id)
        local item = take_field(walk, id, field, first + 2, repetition)
        if item and walk.slots and not repetition then
            item:add_proto_expert_info(problems.field_unlisted,
                format("%s is no field of %s, or is there once too often", title(id, field), walk.message.name))
        end
        return item ~= nil
    end

    -- Like read_field, for format 1: reads the value of the next slot.
    local function read_value(walk, found)
        local first = walk.at
        if not walk.slots then
            return give_up(walk, first, walk.message and problems.repetitions_bad or problems.fields_rest,
                "Values of unknown types")
        end
        if found >= walk.slots.count then
            return give_up(walk, first, problems.field_unlisted, "Values after the last field of the message")
        end
        local id, repetition = slots.at(walk.slots, found)
        return take_field(walk, id, dictionary.fields[id], first, repetition) ~= nil
    end

    -- The number of repetitions, or 0. In the formats 0 and 2 its field may be anywhere, even after fields of the group. Faults
    -- on the way are marked by the walk that follows.
    local function find_repetitions(walk)
        local message, data, at = walk.message, walk.data, walk.at
        local has_ids = walk.header.format ~= VALUE_ONLY
        for i = 1, has_ids and walk.header.field_count or math.min(#message.fields, walk.header.field_count) do
            local id = has_ids and read_word(data, at) or message.fields[i]
            local field = dictionary.fields[id]
            if not id or at > walk.last or hides_next(walk, id, field) then
                return 0
            end
            local value_at, size = locate(walk, has_ids and at + 2 or at, field)
            if not size or value_at + size - 1 > walk.last then
                return 0
            end
            if id == walk.count_id then
                return size >= field.size and values.read_short(data, value_at + field.size - 2) or 0
            end
            at = value_at + size
        end
        return 0
    end

    -- Marks bytes after the last announced field, and fields that were announced but are missing.
    local function tell_rest(walk, found)
        local header = walk.header
        if found ~= header.field_count then
            header.item:add_proto_expert_info(problems.fields_few,
                format("The header announces %d fields, the payload has %d", header.field_count, found))
        end
        if walk.at <= walk.last then
            give_up(walk, walk.at, problems.fields_rest,
                format("%d bytes after the last field", walk.last - walk.at + 1))
        end
        local packed = header.format == VALUE_ONLY and walk.slots and slots.packed(walk.slots, header.version)
        if packed and packed ~= found then
            header.item:add_proto_expert_info(problems.fields_few,
                format("The header announces %d fields, the message has %d", found, packed))
        end
    end

    -- Sets `slots`, or nil when no message has that many: then fields are shown without repetitions.
    local function find_slots(walk, message)
        walk.message, walk.count_id = message, message.count_id
        walk.repetitions = walk.count_id and find_repetitions(walk) or 0
        walk.slots = slots.new(message, walk.repetitions)
    end

    -- Adds the fields from data[at] on to `tree`. The message is nil when it is unknown.
    function payload.add(tree, tvb, data, at, header, message)
        local walk = new_walk(tree, tvb, data, at, header)
        local count = header.field_count
        if header.format > ID_LENGTH_AND_VALUE and count > 0 and at <= walk.last then
            return give_up(walk, at, problems.format_bad, format("There is no field format %d", header.format))
        end
        if message then
            find_slots(walk, message)
        end
        local read = header.format == VALUE_ONLY and read_value or read_field
        local found, good = 0, true
        while good and found < count and walk.at <= walk.last do
            good = read(walk, found)
            found = found + 1
        end
        if good then
            tell_rest(walk, found)
        end
        close_branches(walk)
    end
end

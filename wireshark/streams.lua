-- Filter and sort streams in the value of a field.
local streams = {}
do
    local byte, sub, format = string.byte, string.sub, string.format
    local read_word, read_short, read_long = values.read_word, values.read_short, values.read_long

    local HEADER, KEY, SHORTEST_TERM = 4, 4, 6
    -- A longer text in a term cannot be read.
    local MOST_TEXT = 2047
    local comparisons = {"=", "!=", ">", "<", ">=", "<="}

    local function name_of(id)
        local field = dictionary.fields[id]
        return field and field.name or "field " .. id
    end

    -- Values in terms are as in messages, except that real numbers are little-endian and characters have a length. Each of
    -- these returns the text of the value at a place, with its size.
    local function real_text(show, data, at, size, tvb)
        local bits = {}
        for i = size - 1, 0, -1 do
            bits[#bits + 1] = format("%02x", byte(data, at + i))
        end
        return show(tvb(at - 1, size):le_float(), table.concat(bits))
    end
    local function short_text(data, at)
        return format("%d", read_short(data, at))
    end
    local function long_text(data, at)
        return format("%d", read_long(data, at))
    end
    local function characters_text(data, at, size)
        -- A program reads the text up to a zero byte.
        local text = sub(data, at + 2, at + size - 1)
        local _, shown = value_text.text(text:match("^[^%z]*"))
        return shown
    end
    local function float_text(data, at, size, tvb)
        return real_text(value_text.float, data, at, size, tvb)
    end
    local function double_text(data, at, size, tvb)
        return real_text(value_text.double, data, at, size, tvb)
    end
    local function date_time_text(data, at)
        return (value_text.date_time(data, at))
    end
    local function money_text(data, at)
        return (value_text.money(read_long(data, at), read_short(data, at + 4)))
    end
    local shapes = {
        {short_text, 2}, {long_text, 4}, {long_text, 4}, {characters_text}, {characters_text}, {float_text, 4},
        {double_text, 8}, {date_time_text, 8}, {money_text, 6},
    }

    -- How many bytes the value at `at` takes; nil when nothing up to `last` can be read as one.
    local function size_of(shape, data, at, last)
        local size = shape[2]
        if not size then
            local length = at + 1 <= last and read_word(data, at) or MOST_TEXT + 1
            size = length <= MOST_TEXT and 2 + length or nil
        end
        return size and at + size - 1 <= last and size or nil
    end

    -- Adds the term at `at`. Returns the place of the next one, or nil when the term cannot be read.
    local function add_term(tree, tvb, data, at, last)
        if at + 3 > last then
            return nil
        end
        local id, code = read_word(data, at), read_word(data, at + 2)
        local field = dictionary.fields[id]
        local shape = field and shapes[field.type]
        local size = shape and size_of(shape, data, at + 4, last)
        if not size then
            return nil
        end
        local text = format("%s %s %s", field.name, comparisons[code] or "(comparison " .. code .. ")",
            shape[1](data, at + 4, size, tvb))
        tree:add(filter_fields.filter_term, tvb(at - 1, 4 + size), text, text)
        return at + 4 + size
    end

    local function add_filter(item, tvb, data, at, last, count)
        local tree = item:add(tvb(at - 1, last - at + 1), format("Filter of %d terms", count))
        local read, next_at = 0, at + HEADER
        while next_at and next_at <= last do
            at = next_at
            next_at = add_term(tree, tvb, data, at, last)
            read = read + (next_at and 1 or 0)
        end
        if read ~= count then
            local rest = tree:add(filter_fields.undecoded, tvb(at - 1, last - at + 1))
            rest:add_proto_expert_info(problems.stream_bad,
                read < count and "The next term cannot be read" or "More terms than the filter announces")
        end
    end

    local function add_sort(item, tvb, data, at, last, count)
        local tree = item:add(tvb(at - 1, last - at + 1), format("Sort data of %d keys", count))
        for key = at + HEADER, last, KEY do
            local text = format("%s order %d", name_of(read_word(data, key)), read_short(data, key + 2))
            tree:add(filter_fields.sort_key, tvb(key - 1, KEY), text, text)
        end
    end

    -- Adds the contents of the stream in data[at] to data[last] to the item of its field.
    function streams.add(item, tvb, data, at, last)
        local size = last - at + 1
        local bytes = size - HEADER
        if bytes >= 0 and read_word(data, at) == size then
            local count = read_word(data, at + 2)
            if bytes == count * KEY then
                return add_sort(item, tvb, data, at, last, count)
            end
            if count * SHORTEST_TERM <= bytes and count > 0 then
                return add_filter(item, tvb, data, at, last, count)
            end
        end
        item:add_proto_expert_info(problems.stream_bad, "Neither a filter nor sort data")
    end

    -- The default: byte strings with one of these words in their names.
    function streams.default_names()
        local names = {}
        for id = 1, dictionary.highest_id do
            local field = dictionary.fields[id]
            local name = field and field.is_bytes and "_" .. field.name:upper() .. "_" or ""
            if name:find("[^%a]FILTER[^%a]") or name:find("[^%a]SORT[^%a]") then
                names[#names + 1] = field.name
            end
        end
        return table.concat(names, ",")
    end

    -- Sets the preference: names or ids, separated by commas.
    function streams.choose(names)
        local wanted = {}
        for name in names:gmatch("[^,%s]+") do
            wanted[name] = true
        end
        for id, field in pairs(dictionary.fields) do
            field.holds_stream = field.is_bytes and (wanted[field.name] or wanted[tostring(id)]) or false
        end
    end
end

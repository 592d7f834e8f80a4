-- Expands raw deflate data. Not every version of Wireshark offers this to scripts, and none with a limit on the output.
local inflate
do
    local byte, char, floor = string.byte, string.char, math.floor
    local unpack_list = table.unpack or unpack

    local LONGEST_CODE = 15
    local END_OF_BLOCK = 256
    -- The most symbols that a block with codes of its own can have.
    local MOST_LENGTH_CODES, MOST_DISTANCE_CODES = 286, 30

    -- Lengths and distances of copies: the base of each symbol, and how many extra bits it has.
    local length_base = {3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15, 17, 19, 23, 27, 31, 35, 43, 51, 59, 67, 83, 99, 115, 131,
        163, 195, 227, 258}
    local length_bits = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0}
    local distance_base = {1, 2, 3, 4, 5, 7, 9, 13, 17, 25, 33, 49, 65, 97, 129, 193, 257, 385, 513, 769, 1025, 1537,
        2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577}
    local distance_bits = {0, 0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13,
        13}
    local code_length_order = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15}

    -- Numbers here are whole and below 2^47. Every reader returns nil at the end of the data, and every caller passes that
    -- on. Bits are read ahead in whole bytes, the next one lowest.

    local powers = {[0] = 1}
    for i = 1, LONGEST_CODE do
        powers[i] = 2 * powers[i - 1]
    end

    -- Makes at least `count` bits available (at most LONGEST_CODE), or all that are left.
    local function fill(state, count)
        local at = state.at
        if at + 3 <= state.last then
            local b1, b2, b3, b4 = byte(state.data, at, at + 3)
            state.bits = state.bits + (b1 + b2 * 256 + b3 * 65536 + b4 * 16777216) * powers[state.left]
            state.at = at + 4
            state.left = state.left + 32
            return
        end
        while state.left < count and state.at <= state.last do
            state.bits = state.bits + byte(state.data, state.at) * powers[state.left]
            state.at = state.at + 1
            state.left = state.left + 8
        end
    end

    local function read_bits(state, count)
        if state.left < count then
            fill(state, count)
            if state.left < count then
                return nil
            end
        end
        local value = state.bits % powers[count]
        state.bits = (state.bits - value) / powers[count]
        state.left = state.left - count
        return value
    end

    -- The place of the next byte. Bytes that were only read ahead come again.
    local function next_byte(state)
        return state.at - floor(state.left / 8)
    end

    -- Makes a code from the length of each symbol's word, lengths[0] to lengths[count - 1]: the number of words of each
    -- length, and the symbols in the order of their words. Nil when the lengths do not make a complete code. A single word
    -- of one bit is allowed, and so is no word at all: then reading a word fails.
    local function make_code(lengths, count)
        local counts, offsets, symbols = {}, {0}, {}
        for length = 0, LONGEST_CODE do
            counts[length] = 0
        end
        for symbol = 0, count - 1 do
            counts[lengths[symbol]] = counts[lengths[symbol]] + 1
        end
        local words = 1
        for length = 1, LONGEST_CODE do
            words = words * 2 - counts[length]
            if words < 0 then
                return nil
            end
            offsets[length + 1] = offsets[length] + counts[length]
        end
        local used = count - counts[0]
        if words > 0 and used > 0 and not (used == 1 and counts[1] == 1) then
            return nil
        end
        for symbol = 0, count - 1 do
            local length = lengths[symbol]
            if length ~= 0 then
                symbols[offsets[length]] = symbol
                offsets[length] = offsets[length] + 1
            end
        end
        return {counts = counts, symbols = symbols, is_complete = words == 0}
    end

    -- The symbol of the next word and the length of the word, which may exceed the data.
    local function find_symbol(bits, code)
        local counts = code.counts
        local word, first, index = 0, 0, 0
        for length = 1, LONGEST_CODE do
            local bit = bits % 2
            bits = (bits - bit) / 2
            word = word + bit
            local count = counts[length]
            if word - first < count then
                return code.symbols[index + word - first], length
            end
            index = index + count
            first = (first + count) * 2
            word = word * 2
        end
    end

    local function read_symbol(state, code)
        if state.left < LONGEST_CODE then
            fill(state, LONGEST_CODE)
        end
        local bits, found = state.bits, code.found
        local symbol, length
        if found then
            symbol, length = found[bits % 512], code.lengths[bits % 512]
        else
            symbol, length = find_symbol(bits, code)
        end
        if not symbol or length > state.left then
            return nil
        end
        state.bits = (bits - bits % powers[length]) / powers[length]
        state.left = state.left - length
        return symbol
    end

    -- Copies earlier output. False for an invalid word, or when there is more output than announced.
    local function copy(state, symbol, distances)
        local kind = symbol - END_OF_BLOCK
        local added = length_base[kind] and read_bits(state, length_bits[kind])
        local distance_kind = added and read_symbol(state, distances)
        local base = distance_kind and distance_base[distance_kind + 1]
        local further = base and read_bits(state, distance_bits[distance_kind + 1])
        if not further or base + further > state.size then
            return false
        end
        local out, size, distance = state.out, state.size, base + further
        local stop = size + length_base[kind] + added
        if stop > state.most then
            return false
        end
        for at = size + 1, stop do
            out[at] = out[at - distance]
        end
        state.size = stop
        return true
    end

    local function read_words(state, lengths, distances)
        local out, most = state.out, state.most
        while true do
            local symbol = read_symbol(state, lengths)
            if not symbol then
                return false
            end
            if symbol < END_OF_BLOCK then
                local size = state.size + 1
                if size > most then
                    return false
                end
                out[size] = symbol
                state.size = size
            elseif symbol == END_OF_BLOCK then
                return true
            elseif not copy(state, symbol, distances) then
                return false
            end
        end
    end

    local function read_stored(state)
        local at = next_byte(state)
        state.bits, state.left = 0, 0
        local low, high, not_low, not_high = byte(state.data, at, at + 3)
        if not not_high or low + not_low ~= 255 or high + not_high ~= 255 then
            return false
        end
        local size = high * 256 + low
        local first = at + 4
        if first + size - 1 > state.last or state.size + size > state.most then
            return false
        end
        for i = 0, size - 1 do
            state.out[state.size + 1 + i] = byte(state.data, first + i)
        end
        state.size = state.size + size
        state.at = first + size
        return true
    end

    -- Makes a table of all words of at most 9 bits, by the next 9 bits.
    local function find_all(code)
        code.found, code.lengths = {}, {}
        for bits = 0, 511 do
            code.found[bits], code.lengths[bits] = find_symbol(bits, code)
        end
        return code
    end

    local fixed_lengths, fixed_distances
    do
        local lengths = {}
        for symbol = 0, 287 do
            lengths[symbol] = symbol < 144 and 8 or symbol < 256 and 9 or symbol < 280 and 7 or 8
        end
        fixed_lengths = find_all(make_code(lengths, 288))
        for symbol = 0, 31 do
            lengths[symbol] = 5
        end
        fixed_distances = find_all(make_code(lengths, 32))
    end

    -- The lengths of `count` words, themselves in a code; they may be repeated.
    local function read_lengths(state, code, count)
        local lengths, at = {}, 0
        while at < count do
            local symbol = read_symbol(state, code)
            if not symbol then
                return nil
            end
            local length, times = symbol, 1
            if symbol == 16 then
                length, times = lengths[at - 1], read_bits(state, 2)
                times = times and times + 3
            elseif symbol > 16 then
                length, times = 0, read_bits(state, symbol == 17 and 3 or 7)
                times = times and times + (symbol == 17 and 3 or 11)
            end
            if not length or not times or at + times > count then
                return nil
            end
            for _ = 1, times do
                lengths[at] = length
                at = at + 1
            end
        end
        return lengths
    end

    local function read_dynamic(state)
        local length_count, distance_count, order_count = read_bits(state, 5), read_bits(state, 5), read_bits(state, 4)
        if not order_count then
            return false
        end
        length_count, distance_count = length_count + 257, distance_count + 1
        if length_count > MOST_LENGTH_CODES or distance_count > MOST_DISTANCE_CODES then
            return false
        end
        local orders = {}
        for i, symbol in ipairs(code_length_order) do
            orders[symbol] = i <= order_count + 4 and read_bits(state, 3) or 0
        end
        local code = make_code(orders, 19)
        local lengths = code and code.is_complete and read_lengths(state, code, length_count + distance_count)
        if not lengths then
            return false
        end
        local distances = {}
        for i = 0, distance_count - 1 do
            distances[i] = lengths[length_count + i]
        end
        local length_code, distance_code = make_code(lengths, length_count), make_code(distances, distance_count)
        return length_code ~= nil and distance_code ~= nil and read_words(state, length_code, distance_code)
    end

    local function read_block(state, kind)
        if kind == 0 then
            return read_stored(state)
        end
        if kind == 1 then
            return read_words(state, fixed_lengths, fixed_distances)
        end
        return kind == 2 and read_dynamic(state)
    end

    local function joined(out)
        local parts = {}
        for first = 1, #out, 4096 do
            parts[#parts + 1] = char(unpack_list(out, first, math.min(first + 4095, #out)))
        end
        return table.concat(parts)
    end

    -- Expands data[first] to data[last] to exactly `size` bytes. Nil when the data are damaged, expand to another size, or
    -- do not end at `last`.
    function inflate(data, first, last, size)
        local state = {data = data, at = first, last = last, bits = 0, left = 0, out = {}, size = 0, most = size}
        local is_last
        repeat
            is_last = read_bits(state, 1)
            local kind = is_last and read_bits(state, 2)
            if not kind or not read_block(state, kind) then
                return nil
            end
        until is_last == 1
        return state.size == size and next_byte(state) == last + 1 and joined(state.out) or nil
    end
end

-- Values as `zel decode` writes them: texts, bytes, real numbers, money, dates and times.
local value_text = {}
do
    local byte, find, format, gsub, sub = string.byte, string.find, string.format, string.gsub, string.sub
    local floor = math.floor

    -- The size of the UTF-8 character at `at`, whose first byte is not ASCII; nil when it is invalid.
    local function character_size(text, at)
        local first, second = byte(text, at, at + 1)
        if not second or first < 0xC2 or first > 0xF4 then
            return nil
        end
        -- Excludes overlong forms, surrogates, and numbers beyond the last character.
        local least = first == 0xE0 and 0xA0 or first == 0xF0 and 0x90 or 0x80
        local most = first == 0xED and 0x9F or first == 0xF4 and 0x8F or 0xBF
        if second < least or second > most then
            return nil
        end
        local size = first >= 0xF0 and 4 or first >= 0xE0 and 3 or 2
        local _, last = find(text, "^[\128-\191]+", at + 1)
        return last >= at + size - 1 and size or nil
    end

    local function is_utf8(text)
        local at = find(text, "[\128-\255]")
        while at do
            local size = character_size(text, at)
            if not size then
                return false
            end
            at = find(text, "[\128-\255]", at + size)
        end
        return true
    end

    local function escape(character)
        if character == '"' or character == "\\" then
            return "\\" .. character
        end
        return character == "\n" and "\\n" or format("\\u%04x", byte(character))
    end

    local function escape_byte(character)
        return format("\\x%02x", byte(character))
    end

    -- The control characters beyond ASCII have two bytes, of which the second is their number.
    local function escape_control(character)
        return format("\\u%04x", byte(character, 2))
    end

    local function escaped(text)
        text = gsub(text, '[%z\1-\31\127"\\]', escape)
        if not find(text, "[\128-\255]") then
            return text
        end
        if not is_utf8(text) then
            return (gsub(text, "[\128-\255]", escape_byte))
        end
        return (gsub(text, "\194[\128-\159]", escape_control))
    end

    -- Wireshark cuts long labels at the end, where the field is described: so texts are cut here.
    local MOST_SHOWN = 120

    local function quoted(text)
        if #text <= MOST_SHOWN then
            return '"' .. escaped(text) .. '"'
        end
        -- Not within a character.
        local cut = find(text, "[^\128-\191]", MOST_SHOWN - 3) or MOST_SHOWN
        return '"' .. escaped(sub(text, 1, cut - 1)) .. '"...'
    end

    -- The text for filters, and the text to show. Wireshark's texts are UTF-8 and end with a zero byte: others are escaped
    -- for filters, too.
    function value_text.text(text)
        if not find(text, '[%c"\\\128-\255]') and #text <= MOST_SHOWN then
            return text, '"' .. text .. '"'
        end
        local is_comparable = not find(text, "%z") and is_utf8(text)
        return is_comparable and text or escaped(text), quoted(text)
    end

    local hex_formats = {}
    local function format_for(count)
        hex_formats[count] = hex_formats[count] or ("%02X "):rep(count - 1) .. "%02X"
        return hex_formats[count]
    end

    local MOST_BYTES = MOST_SHOWN / 3

    -- The `size` bytes at `at`.
    function value_text.bytes(data, at, size)
        if size == 0 then
            return "(no bytes)"
        end
        local shown = math.min(size, MOST_BYTES)
        local text = format(format_for(shown), byte(data, at, at + shown - 1))
        return shown < size and text .. " ..." or text
    end

    -- These digits with the point after the first one, times ten to the power.
    local function in_scientific_form(digits, power)
        local fraction = #digits > 1 and "." .. sub(digits, 2) or ""
        return format("%s%se%s%02d", sub(digits, 1, 1), fraction, power < 0 and "-" or "+", math.abs(power))
    end

    local function in_plain_form(digits, power, magnitude)
        if power < 0 then
            return "0." .. ("0"):rep(-power - 1) .. digits
        end
        if #digits <= power + 1 then
            return format("%.0f", magnitude)
        end
        return sub(digits, 1, power + 1) .. "." .. sub(digits, power + 2)
    end

    -- The fewest digits that read back as the number, in the shorter of two forms; `means` tells whether a text does. Most
    -- numbers take `most_digits` digits with trailing zeros removed; below the least normal number there may be fewer.
    local function shortest(number, most_digits, least_normal, means)
        -- No scientific form has fewer than 5 characters.
        local plain = format("%.6g", number)
        if #plain <= 5 and not find(plain, "e", 1, true) and means(tonumber(plain)) then
            return plain
        end
        for precision = math.abs(number) < least_normal and 0 or most_digits - 1, 16 do
            local text = format("%." .. precision .. "e", number)
            if means(tonumber(text)) then
                local sign, first, rest, power = text:match("^(-?)(%d)%.?(%d-)0*e([-+]%d+)$")
                local digits = first .. rest
                power = tonumber(power)
                local scientific = in_scientific_form(digits, power)
                -- For larger powers the plain form is longer, up to 300 zeros.
                plain = math.abs(power) <= 25 and in_plain_form(digits, power, math.abs(number)) or scientific
                return sign .. (#plain <= #scientific and plain or scientific)
            end
        end
    end

    -- The text of a NaN, an infinity or a zero; nil for other numbers. `nan` are the hex digits of the usual NaN.
    local function special(number, bits, nan)
        if number ~= number then
            return bits == nan and '"NaN"' or '{"hex":"' .. bits .. '"}'
        end
        if number == math.huge or number == -math.huge then
            return number > 0 and '"Infinity"' or '"-Infinity"'
        end
        return number == 0 and (1 / number < 0 and "-0.0" or "0.0") or nil
    end

    -- `bits` are the number's bytes as hex digits.
    function value_text.double(number, bits)
        return special(number, bits, "7ff8000000000000") or shortest(number, 15, 2.0 ^ -1022, function(read)
            return read == number
        end)
    end

    -- A text reads back as a float when it is nearer to it than to the neighbouring floats.
    function value_text.float(number, bits)
        local text = special(number, bits, "7fc00000")
        if text then
            return text
        end
        local high = tonumber(sub(bits, 1, 4), 16)
        local exponent = floor(high / 128) % 256
        local step = 2.0 ^ (math.max(exponent, 1) - 150)
        -- The neighbour below a power of two is nearer.
        local is_power = exponent > 1 and high % 128 == 0 and sub(bits, 5) == "0000"
        local magnitude = math.abs(number)
        return shortest(number, 6, 2.0 ^ -126, function(read)
            local off = math.abs(read) - magnitude
            return off < step / 2 and off > (is_power and -step / 4 or -step / 2)
        end)
    end

    -- The denominator of each display code, and how decimals are written.
    local denominators = {
        [1] = 1, [2] = 2, [4] = 4, [8] = 8, [16] = 16, [32] = 32, [64] = 64, [128] = 128, [256] = 256,
        [10] = 10, [20] = 100, [30] = 1000, [40] = 10000, [50] = 100000,
    }
    local decimal_formats = {[10] = "%s%d.%01d", [20] = "%s%d.%02d", [30] = "%s%d.%03d", [40] = "%s%d.%04d", [50] = "%s%d.%05d"}

    -- From this code on the amount is whole units, and the code holds the hundredths.
    local LARGE_FORM = 512
    local LARGEST_FORM = LARGE_FORM + 99
    -- Above this many whole units hundredths take the large form.
    local LARGEST_WHOLE = 20000000
    -- It cannot be negated in 32 bits, so the library writes it with two signs.
    local LEAST_AMOUNT = -2147483648

    local function whole_text(amount)
        return amount == LEAST_AMOUNT and "--2147483648" or format("%d", amount)
    end

    -- Each of these returns the money's text, its number, and whether the text reads back as the same money.
    local function large_money(amount, code)
        local hundredths = (code - LARGE_FORM) % 100
        local number = math.abs(amount) + hundredths / 100
        -- There is no code for hundredths on a large negative amount.
        local fits = amount > LARGEST_WHOLE or code == LARGE_FORM and amount < -LARGEST_WHOLE and amount ~= LEAST_AMOUNT
        return format("%s.%02d", whole_text(amount), hundredths), amount < 0 and -number or number,
            code <= LARGEST_FORM and fits
    end

    local function decimal_money(amount, code)
        local denominator = denominators[code]
        local magnitude = math.abs(amount)
        local whole = floor(magnitude / denominator)
        local text = format(decimal_formats[code], amount < 0 and "-" or "", whole, magnitude % denominator)
        return text, amount / denominator, code ~= 20 or whole <= LARGEST_WHOLE
    end

    local function fraction_money(amount, code)
        local magnitude = math.abs(amount)
        local whole, numerator = floor(magnitude / code), magnitude % code
        local sign = amount < 0 and "-" or ""
        if numerator == 0 then
            return format("%s%d", sign, whole), amount / code, false
        end
        local text = format("%s%s%d/%d", sign, whole == 0 and "" or format("%d ", whole), numerator, code)
        return text, amount / code, true
    end

    local function money_parts(amount, code)
        if code >= LARGE_FORM then
            return large_money(amount, code)
        end
        if code == 1 then
            return whole_text(amount), amount, amount ~= LEAST_AMOUNT
        end
        if decimal_formats[code] then
            return decimal_money(amount, code)
        end
        if denominators[code] then
            return fraction_money(amount, code)
        end
    end

    -- The text, and its number; nil for the number when the display code is invalid.
    function value_text.money(amount, code)
        local text, number, is_whole_truth = money_parts(amount, code)
        if is_whole_truth then
            return text, number
        end
        local record = format("amount %d, display code %d", amount, code)
        return text and text .. " (" .. record .. ")" or record, number
    end

    local DAYS = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}

    local function is_date(day, month, year)
        local is_leap = year % 4 == 0 and (year % 100 ~= 0 or year % 400 == 0)
        local days = is_leap and month == 2 and 29 or DAYS[month]
        return days ~= nil and day >= 1 and day <= days
    end

    -- A day may end at 24:00:00.
    local function is_time(hour, minute, second)
        return hour < 24 and minute <= 59 and second <= 59 or hour == 24 and minute + second == 0
    end

    local function signed(number)
        return number < 128 and number or number - 256
    end

    -- The text, and whether the record is a date, a time, both or nothing.
    function value_text.date_time(data, at)
        local day, month, year, hour, minute, second, extra, kind = byte(data, at, at + 7)
        local has_date, has_time = kind == 1 or kind == 3, kind == 2 or kind == 3
        local date_good = has_date and is_date(day, month, 1900 + year) or not has_date and day + month + year == 0
        local time_good = has_time and is_time(hour, minute, second) or not has_time and hour + minute + second == 0
        if kind > 3 or extra ~= 0 or not date_good or not time_good then
            return format("day %d, month %d, year 1900 + %d, hour %d, minute %d, second %d, extra %d, kind %d",
                signed(day), signed(month), year, signed(hour), signed(minute), signed(second), extra, kind), false
        end
        if kind == 3 then
            return format("%04d-%02d-%02dT%02d:%02d:%02d", 1900 + year, month, day, hour, minute, second), true
        end
        if kind == 1 then
            return format("%04d-%02d-%02d", 1900 + year, month, day), true
        end
        return kind == 2 and format("%02d:%02d:%02d", hour, minute, second) or "(none)", true
    end
end

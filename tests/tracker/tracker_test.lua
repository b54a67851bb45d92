-- The pose tracker script against the host stand-in, run with lua5.4:
--   lua5.4 tracker_test.lua TRACKER_DIR [SCRIPT]
-- from a scratch working directory, which is never a game folder unless a test makes it one. SCRIPT
-- (default TRACKER_DIR/main.lua) runs another version of the tracker through the same tests.

local trackerDir = assert(arg[1], "usage: lua5.4 tracker_test.lua TRACKER_DIR [SCRIPT]")
local script = arg[2] or trackerDir .. "/main.lua"
package.path = trackerDir .. "/?.lua;" .. package.path
local Standin = require("host_standin")

local open = io.open -- the process's own, which the stand-in replaces
local scratch = io.popen("pwd"):read("l")
local kClockMax = 2147483647

local function sh(command)
    assert(os.execute(command), command)
end

-- A fresh game install below the scratch directory: <name>/Root/Game/{Content,Binaries/Win64}, the mod's
-- exchange directory beside the executable unless `exchange` is false, and a folder to be the working
-- directory. Returns the executable's folder and that folder.
local function make_game(name, exchange, layout)
    local root = scratch .. "/" .. name
    local binaries = root .. "/Root/Game/Binaries/Win64"
    sh(string.format("rm -rf '%s' && mkdir -p '%s' '%s/elsewhere'", root, binaries, root))
    if layout ~= false then
        sh(string.format("mkdir -p '%s/Root/Game/Content'", root))
    end
    if exchange ~= false then
        sh(string.format("mkdir '%s/KorvathOnline'", binaries))
    end
    return binaries, root .. "/elsewhere"
end

-- The row a local_state.tsv holds, checking that it is one record of 512 bytes: the row, then blanks.
local function read_row(path)
    local file = open(path, "rb")
    if file == nil then
        return nil
    end
    local content = file:read("a")
    file:close()
    local row = content:match("^([^\n]*\n) *$")
    assert(row and #content == 512, "not one record: " .. string.format("%q", content))
    return row
end

-- A tracker over a pawn whose pose the test sets (nil: no pawn) in the game folder `game`.
local function start_tracker(game, options)
    local world = { pose = options.pose }
    options.gameDir = game
    options.pose = function()
        if world.pose and world.pose.fail then
            error(world.pose.fail)
        end
        return table.unpack(world.pose or {})
    end
    local host = Standin.new(options)
    host:install()
    host:run_mod(options.script or script)
    -- The line naming the key bindings, which tracker_keys_test.cpp checks; these tests count the others.
    for index, line in ipairs(host.console) do
        if line:find("] keys: ", 1, true) then
            table.remove(host.console, index)
            break
        end
    end
    return host, world
end

local function expect_eq(actual, expected, what)
    if actual ~= expected then
        error(string.format("%s: expected %q, got %q", what, tostring(expected), tostring(actual)), 2)
    end
end

local function console_has(host, text)
    for _, line in ipairs(host.console) do
        if line:find(text, 1, true) then
            return true
        end
    end
    return false
end

-- The rows written from now until `untilMs`, read every 5 ms (rows come at least 25 ms apart): for each new
-- one, its fields.
local function collect_rows(host, path, untilMs)
    local rows, last = {}, nil
    for ms = host.now + 5, untilMs, 5 do
        host:advance_to(ms)
        local row = read_row(path)
        if row and row ~= last then
            last = row
            local fields = {}
            for field in row:gsub("\n$", ""):gmatch("[^\t]*") do
                fields[#fields + 1] = field
            end
            rows[#rows + 1] = fields
        end
    end
    return rows
end

local tests = {}
local function test(name, body)
    tests[#tests + 1] = { name, body }
end

-- One tracker through a game's life, step by step: at each time, what changes, then the row the file
-- holds (nil: no file). Rows come every 16 ms on average (the game thread turns every 10 ms, so 10 or 20 ms
-- apart) with the pose of that moment, the map, the host's clock and one number up per row written.
test("a_game_session_from_no_pawn_to_a_map_change", function()
    local game = make_game("session", false)
    local file = game .. "/KorvathOnline/local_state.tsv"
    local host, world = start_tracker(game, { map = "Map_A", frameMs = 10 })
    local function row(x, map, ms, sequence)
        return string.format("%s\t2.000\t3.000\t4.000\t%s\t%d\t%d\n", x, map, ms, sequence)
    end
    local steps = {
        { 1000, function() end, nil }, -- no pawn, no exchange directory
        { 1020, function() world.pose = { 1, 2, 3, 4 } end, nil }, -- the mod has not created the directory
        { 1070, function() sh("mkdir '" .. game .. "/KorvathOnline'") end, row("1.000", "Map_A", 1070, 3) },
        { 1095, function() world.pose = { 1.0004, 2, 3, 4 } end, row("1.000", "Map_A", 1090, 4) },
        { 1100, function() end, row("1.000", "Map_A", 1100, 5) },
        { 3000, function() world.pose = nil end, row("1.000", "Map_A", 1100, 5) }, -- the pawn left
        { 3020, function() world.pose = { -0.0004, 2, 3, 4 } end, row("-0.000", "Map_A", 3020, 7) },
        { 3070, function() host:load_map("Map_B") end, row("-0.000", "Map_B", 3070, 10) },
        -- A busy game thread (a map loading) runs nothing; the rows resume when it is free again.
        { 5000, function() host:stall_game_thread(true) end, row("-0.000", "Map_B", 3070, 10) },
        { 5010, function() host:stall_game_thread(false) end, row("-0.000", "Map_B", 5010, 11) },
        { 5060, function() world.pose = { 123456.789, 2, 3, 4 } end, row("123456.789", "Map_B", 5060, 14) },
        { 16060, function() end, row("123456.789", "Map_B", 16050, 701) }, -- 16.05 * 1000 < 16050
        -- A pawn read that raises for a second is reported once, and the tracker goes on when it passes.
        { 17060, function() world.pose = { fail = "pawn read failed" } end,
            row("123456.789", "Map_B", 16050, 701) },
        { 17110, function() world.pose = { 1, 2, 3, 4 } end, row("1.000", "Map_B", 17110, 704) },
    }
    for index, step in ipairs(steps) do
        step[2]()
        host:advance_to(step[1])
        expect_eq(read_row(file), step[3], "step " .. index .. " at " .. step[1] .. " ms")
    end
    expect_eq(#host.errors, 0, "errors escaping the tracker")
    expect_eq(#host.console, 3, "console lines")
    assert(host.console[1]:find("writing " .. file .. " up to 60 times a second", 1, true), host.console[1])
    assert(host.console[2]:find("cannot write " .. file, 1, true), host.console[2])
    assert(host.console[3]:find("pawn read failed", 1, true), host.console[3])
end)

test("values_that_would_break_the_row_are_not_written_as_they_are", function()
    local longMap = string.rep("m", 300)
    local cases = {
        -- pose, map, expected row or nil for none
        { { 1, 2, 3, 4 }, "Map\twith\ntabs\r", "1.000\t2.000\t3.000\t4.000\tMap_with_tabs_\t10\t1\n" },
        { { 1, 2, 3, 4 }, longMap, "1.000\t2.000\t3.000\t4.000\t" .. longMap:sub(1, 128) .. "\t10\t1\n" },
        { { 1, 2, 3, 4 }, "", "1.000\t2.000\t3.000\t4.000\t\t10\t1\n" },
        { { 0 / 0, 2, 3, 4 }, "Map_A", nil },
        { { 1, math.huge, 3, 4 }, "Map_A", nil },
        { { 1, 2, -1e39, 4 }, "Map_A", nil },
        { { 1, 2, 3 }, "Map_A", nil },
    }
    for index, case in ipairs(cases) do
        local game = make_game("values")
        local host = start_tracker(game, { pose = case[1], map = case[2], frameMs = 10 })
        host:advance_to(10)
        expect_eq(read_row(game .. "/KorvathOnline/local_state.tsv"), case[3], "case " .. index)
        expect_eq(#host.errors + #host.console, 1, "case " .. index .. ": errors and console lines")
    end
end)

-- The mod's exchange directory lies beside the game's executable, wherever the working directory is. The
-- host's io.open takes narrow paths in the ANSI code page, which may not hold the characters of the game's
-- path: then the tracker writes relative to the working directory when that is the game folder, and
-- otherwise says why it writes nothing.
test("the_row_goes_beside_the_executable_or_the_console_says_why_not", function()
    local kOther = "Игра ゲーム" -- beyond a Western ANSI code page
    local cases = {
        -- name, game folder, stand-in options, working directory "game" or "elsewhere", row beside the
        -- executable?, console text
        { "ascii", "ascii", {}, "elsewhere", true, "writing %s up to 60 times" },
        { "ascii-v3.0.1", "ascii", { api = "v3.0.1" }, "elsewhere", true, "writing %s up to 60 times" },
        { "ascii-v3.0.1-ue4ss", "ascii", { api = "v3.0.1", ue4ss = true }, "elsewhere", true, "writing %s up to 60 times" },
        { "other-utf8", kOther, { codePage = "utf8" }, "elsewhere", true, "writing %s up to 60 times" },
        { "other-in-game", kOther, {}, "game", true, "cannot open %s" },
        { "other-in-game-v3.0.1", kOther, { api = "v3.0.1" }, "game", true, "No mapping for the Unicode" },
        { "other-elsewhere", kOther, {}, "elsewhere", false, "cannot write %s" },
        { "no-layout", "ascii", { layout = false }, "elsewhere", false, "folder layout" },
    }
    for _, case in ipairs(cases) do
        local name, folder, options, where, written, text = table.unpack(case)
        local game, elsewhere = make_game(name .. "/" .. folder, true, options.layout)
        local file = game .. "/KorvathOnline/local_state.tsv"
        if written and where == "elsewhere" then
            sh("mkdir '" .. elsewhere .. "/KorvathOnline'") -- a writer that goes by the working directory lands here
        end
        options.workingDir = where == "game" and game or elsewhere
        if options.ue4ss then -- the host and the script where v3.0.1's package puts them
            local scripts = game .. "/ue4ss/Mods/KorvathTracker/Scripts"
            sh(string.format("mkdir -p '%s' && cp '%s' '%s/main.lua'", scripts, script, scripts))
            options.ue4ssDir, options.script = game .. "/ue4ss", scripts .. "/main.lua"
        end
        options.pose, options.frameMs = { 1, 2, 3, 4 }, 10
        local host = start_tracker(game, options)
        host:advance_to(3000)
        expect_eq(read_row(file) ~= nil, written, name .. ": row beside the executable")
        expect_eq(read_row(elsewhere .. "/KorvathOnline/local_state.tsv"), nil, name .. ": row elsewhere")
        assert(console_has(host, text:format(file)), name .. ": console: " .. table.concat(host.console, " | "))
        assert(#host.console <= 2, name .. ": said more than once: " .. table.concat(host.console, " | "))
    end
end)

-- The rows a tracker writes until `untilMs` in a game whose working directory is the game folder, the pawn
-- standing at `pose(host)` (default 1, 2, 3, 4); `prepare(host)` runs before the script.
local function track(options, untilMs, prepare)
    local game, host = make_game("track"), nil
    local pose = options.pose or function() return 1, 2, 3, 4 end
    options.gameDir, options.workingDir, options.pose = game, game, function() return pose(host) end
    host = Standin.new(options)
    host:install()
    if prepare then
        prepare(host)
    end
    host:run_mod(script)
    return collect_rows(host, game .. "/KorvathOnline/local_state.tsv", untilMs)
end

-- The host drops a LoopAsync loop whose callback raises; the current host's game-thread loop goes on. No
-- error in what the tracker calls, nor one that escapes its callbacks, ends the tracking.
test("no_error_ends_the_tracking", function()
    local function fail_for_200_ms(host, owner, name)
        local real = owner[name]
        owner[name] = function(...)
            if host.now < 200 then
                error(name .. " failed")
            end
            return real(...)
        end
    end
    local faults = {
        { "game-thread queue", function(host) fail_for_200_ms(host, _G, "ExecuteInGameThread") end },
        { "clock", function(host) fail_for_200_ms(host, os, "clock") end },
        { "loop callback", function(host) host:fault_loop_calls(1) end },
    }
    for _, api in ipairs({ "main", "v3.0.1" }) do
        for _, fault in ipairs(faults) do
            local last = track({ api = api }, 5000, fault[2])
            last = last[#last] or {}
            assert(tonumber(last[6] or 0) >= 4900 and tonumber(last[7]) >= 20,
                api .. ", " .. fault[1] .. ": the tracking ended at " .. tostring(last[6]) .. " ms")
        end
    end
end)

-- The C runtime's clock() answers -1 once its 32-bit count of milliseconds is full (after about 24.8 days).
-- The sample times never go back: the rows written then carry none, and the relay times them by the file.
test("sample_times_never_go_back_when_the_clock_runs_out", function()
    for _, api in ipairs({ "main", "v3.0.1" }) do
        local rows = track({ api = api, clockStartMs = kClockMax - 2000,
            pose = function(host) return host.now, 2, 3, 4 end }, 4000)
        local lastMs, unstamped = 0, 0
        for _, fields in ipairs(rows) do
            local sampleMs = tonumber(fields[6])
            assert(sampleMs == nil and #fields == 5 or sampleMs > lastMs,
                api .. ": sample time " .. tostring(fields[6]) .. " after " .. lastMs)
            lastMs, unstamped = sampleMs or lastMs, unstamped + (sampleMs and 0 or 1)
        end
        assert(lastMs > kClockMax - 100 and unstamped >= 10 and tonumber(rows[#rows][1]) > 3900,
            api .. ": the rows stopped with the clock, or before it")
    end
end)

-- A sample every 16 ms on average under the host's pacing, or once a frame when frames are farther apart: its
-- loops count their delay from the end of the callback and look at it only on their thread's turns (every
-- frame, or every 5 ms on the async thread).
test("sixty_samples_a_second_or_one_a_frame_under_the_hosts_pacing", function()
    local setups = {
        { "main, 60 frames a second", { api = "main" }, 1000 / 60 },
        { "main, 144 frames a second", { api = "main", frameMs = 1000 / 144 }, 16 },
        { "main, 30 frames a second", { api = "main", frameMs = 1000 / 30 }, 1000 / 30 },
        { "main, 60 frames a second, async passes 5.5 ms apart", { api = "main", asyncSleepMs = 5.5 }, 1000 / 60 },
        { "v3.0.1, async passes 5 ms apart", { api = "v3.0.1" }, 16 },
        { "v3.0.1, 5.5 ms apart (Sleep(5) with a 1 ms timer)", { api = "v3.0.1", asyncSleepMs = 5.5 }, 16 },
        { "v3.0.1, 15.625 ms apart (Sleep(5) with the default timer)", { api = "v3.0.1", asyncSleepMs = 15.625 },
            16 },
    }
    local uneven = {}
    for _, setup in ipairs(setups) do
        local rows = track(setup[2], 60000)
        local shortest, longest = math.huge, 0
        for index = 3, #rows do
            local interval = tonumber(rows[index][6]) - tonumber(rows[index - 1][6])
            shortest, longest = math.min(shortest, interval), math.max(longest, interval)
        end
        local mean = (tonumber(rows[#rows][6]) - tonumber(rows[2][6])) / (#rows - 2)
        io.stdout:write(string.format("  %s: %.2f samples a second, interval mean %.2f ms, min %d, max %d\n",
            setup[1], 1000 / mean, mean, shortest, longest))
        local expected = setup[3]
        if math.abs(mean - expected) > 1 or shortest < 8 or longest > 2 * expected then
            uneven[#uneven + 1] = setup[1]
        end
    end
    assert(#uneven == 0, "off pace: " .. table.concat(uneven, "; "))
end)

local failed = 0
for _, case in ipairs(tests) do
    local ok, problem = pcall(case[2])
    failed = failed + (ok and 0 or 1)
    io.stdout:write(ok and "[ OK ] " or "[FAIL] ", case[1], ok and "" or ": " .. tostring(problem), "\n")
end
for _, name in ipairs({ "session", "values", "ascii", "ascii-v3.0.1", "ascii-v3.0.1-ue4ss", "other-utf8",
    "other-in-game", "other-in-game-v3.0.1", "other-elsewhere", "no-layout", "track" }) do
    sh("rm -rf '" .. scratch .. "/" .. name .. "'")
end
os.exit(failed == 0 and 0 or 1)

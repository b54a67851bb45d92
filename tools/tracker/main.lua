-- KorvathTracker: keeps the mod's local_state.tsv up to date with this client's own pawn, for the
-- KorvathOnlineCpp mod (which only reads the file) and for korvath-session (which relays it to the other
-- client). Once a frame, up to 60 times a second, it reads the local pawn on the game thread and writes one row:
--   x <TAB> y <TAB> z <TAB> yaw <TAB> map <TAB> sample time (ms) <TAB> sequence number <LF>
-- (the last two left out while the host's clock gives no time). While there is no pawn it writes nothing,
-- so the file goes stale, which the mod takes for a player who is not loaded.

local UEHelpers = require("UEHelpers")

-- Between samples, on average: every frame at 60 frames a second. A sample costs the game thread some 9 us
-- (bench/tracker_bench.cpp), and the relay sees a stop that much sooner.
local kPeriodMs = 16
local kPollMs = 10 -- the loop's delay: how often the schedule is looked at
local kWatchdogMs = 1000
local kMaxMapBytes = 128
-- Beyond this a coordinate is no 32-bit float, and the mod would refuse the whole row.
local kLargestValue = 3.0e38
local kRelativePath = "KorvathOnline/local_state.tsv"

-- korvath keys begin
-- The keys that steer this game's session: a key and its modifier keys, named as in the host's Key and
-- ModifierKey tables (Mods/Keybinds/Scripts/main.lua lists them). Change them here; korvath-session
-- doctor takes this script for its own whatever these lines say.
local kEnableKey = { key = "F7", modifiers = { "CONTROL" } } -- asks for a session (the enable marker)
local kStopKey = { key = "F8", modifiers = { "CONTROL" } } -- ends it: the stop marker, the proxy goes
local kResumeKey = { key = "F9", modifiers = { "CONTROL" } } -- removes the stop marker
-- korvath keys end

local sequence = 0
local controller = nil -- cached between samples; dropped when a map loads
local mapName = nil
local lastError = nil

-- One line on the host's console per new kind of failure, not one per sample.
local function report(message)
    message = tostring(message)
    if message ~= lastError then
        lastError = message
        print("[KorvathTracker] " .. message .. "\n")
    end
end

-- Where the rows go ----------------------------------------------------------------------------------------

-- The mod's exchange directory lies in the folder of the game's executable, which need not be the working
-- directory that io.open resolves a relative path against (the host never sets it, and a launcher may start
-- the game elsewhere). IterateGameDirectories gives the game's folders from its root, the game's own as
-- "Game", each with its absolute path; the executable lies in Game/Binaries/Win64 (or the one platform
-- folder there). Raises when it cannot tell.
local function folder_from_game_directories()
    if type(IterateGameDirectories) ~= "function" then
        error("this host has no IterateGameDirectories", 0)
    end
    local ok, directories = pcall(IterateGameDirectories)
    if not ok then
        error("IterateGameDirectories failed: " .. tostring(directories), 0)
    end
    if type(directories) ~= "table" then
        error("IterateGameDirectories does not know this game's folder layout", 0)
    end
    local binaries = type(directories.Game) == "table" and directories.Game.Binaries
    if type(binaries) ~= "table" then
        error("the game has no Binaries folder", 0)
    end
    local folder = binaries.Win64
    if folder == nil then
        local count = 0
        for _, child in pairs(binaries) do
            folder, count = child, count + 1
        end
        if count ~= 1 then
            error("no Win64 and " .. count .. " other folders in the game's Binaries folder", 0)
        end
    end
    local path = folder.__absolute_path
    if type(path) ~= "string" or path == "" then
        error("no absolute path for the executable's folder", 0)
    end
    return path
end

-- The same from this script's own path, as the host loaded it from its Mods folder beside the executable
-- or in a folder below it (v3.0.1 installs itself in Win64/ue4ss, where its IterateGameDirectories knows
-- no layout): the folder after the last "Binaries". Nil when the path does not tell.
local function folder_from_script()
    local info = type(debug) == "table" and debug.getinfo(1, "S")
    local source = info and info.source
    if type(source) ~= "string" or source:sub(1, 1) ~= "@" then
        return nil
    end
    local finish
    for after in source:gmatch("[\\/]Binaries[\\/][^\\/]+()") do
        finish = after
    end
    return finish and source:sub(2, finish - 1) or nil
end

local function executable_folder()
    local ok, folder = pcall(folder_from_game_directories)
    if ok then
        return folder
    end
    return folder_from_script() or error(folder, 0)
end

-- The paths to try, in order, and how to say where the rows go. The host's io.open takes a narrow path in
-- the ANSI code page, which need not hold every character of the game's path: a path beyond ASCII is tried
-- first, and the working directory's KorvathOnline after it; the first that opens is kept.
local function choose_targets()
    local ok, folder = pcall(executable_folder)
    if not ok then
        return { kRelativePath }, kRelativePath .. " in the working directory up to 60 times a second: " .. folder
    end
    local separator = folder:find("\\", 1, true) and "\\" or "/"
    local path = folder:gsub("[\\/]+$", "") .. separator .. "KorvathOnline" .. separator .. "local_state.tsv"
    if not path:find("[\128-\255]") then
        return { path }, path .. " up to 60 times a second"
    end
    return { path, kRelativePath }, path .. " up to 60 times a second, or " .. kRelativePath
        .. " in the working directory should the host's io.open not spell that path"
end

local targets, targetText = choose_targets()
local target = #targets == 1 and targets[1] or nil -- once known

-- Every write puts one record of this size at the start of the file: the row, then blanks up to the
-- size. The mod and the relay read only the first line, so the blanks after its line feed are ignored.
local kRecordBytes = 512
assert(kRecordBytes > 4 * 45 + kMaxMapBytes + 2 * 21 + 7, "a row of the largest values must fit")

-- Overwrites the record in place with one write when the file is closed. The file is never removed
-- (a missing file restarts the mod's wait for a loaded player, and the host's os.rename cannot
-- replace an existing file) nor emptied (emptying it first leaves an empty file for milliseconds on
-- some file systems): it always holds a whole row, and its size never changes once created.
-- Returns true, or false and why not.
local function write_row(path, row)
    local file = io.open(path, "r+b")
    if file == nil then
        local existing = io.open(path, "rb")
        if existing ~= nil then
            existing:close()
            return false, path .. ": there, but held by another program" -- retried
        end
        local problem
        file, problem = io.open(path, "wb") -- fails while there is no exchange directory
        if file == nil then
            return false, path .. ": " .. tostring(problem):gsub("^.*: ", "")
        end
    end
    file:setvbuf("full", 2 * kRecordBytes)
    local written, problem = file:write(row, string.rep(" ", kRecordBytes - #row))
    local closed = file:close()
    if written == nil or closed ~= true then
        return false, path .. ": " .. tostring(problem)
    end
    return true
end

local function write_to_target(row)
    if target ~= nil then
        local ok, problem = write_row(target, row)
        if not ok then
            report("cannot write " .. problem)
        end
        return ok
    end
    local problems = {}
    for _, path in ipairs(targets) do
        local ok, problem = write_row(path, row)
        if ok then
            target = path
            if path ~= targets[1] then
                report("writing " .. path .. " in the working directory: the host's io.open cannot open "
                    .. targets[1])
            end
            return true
        end
        problems[#problems + 1] = problem
    end
    report("cannot write " .. targets[1] .. " (its path has characters outside ASCII, which the host's "
        .. "io.open may not spell) nor " .. kRelativePath .. " in the working directory: "
        .. table.concat(problems, "; "))
    return false
end

-- Time -------------------------------------------------------------------------------------------------------

-- A millisecond count that never goes back, or nil while there is none. The host's os.clock is its C
-- runtime's clock(): wall-clock milliseconds since the process started in a 32-bit count, which the MSVC
-- runtime answers with -1 once full (after about 24.8 days), and a runtime that lets it wrap starts again
-- from below. The count adds only the clock's forward steps, so it goes on across a wrap. No other clock of
-- the host's Lua counts less than os.time's whole seconds on every version.
local function new_counter()
    local total, last = nil, nil
    return function()
        local ok, seconds = pcall(os.clock)
        if not ok or type(seconds) ~= "number" or not (seconds >= 0) then
            last = nil
            return nil
        end
        local reading = math.floor(seconds * 1000 + 0.5) -- clock() counts whole milliseconds
        if total == nil then
            total = reading
        elseif last ~= nil and reading > last then
            total = total + (reading - last)
        end
        last = reading
        return total
    end
end

-- The schedule: a sample is due every kPeriodMs, counted from when the last one was due rather than from
-- when the loop last ran, so that the loop's lateness (its delay counts from the end of its callback, and it
-- runs only on its thread's turns) does not add up; at least half a period apart. Without a clock, one every
-- kPeriodMs / kPollMs polls.
local scheduleClock = new_counter()
local nextDueMs = nil
local pollsSinceDue = 0

local function sample_due()
    local now = scheduleClock()
    pollsSinceDue = pollsSinceDue + 1
    local due
    if now == nil then
        due = pollsSinceDue >= kPeriodMs // kPollMs
    elseif nextDueMs == nil or now >= nextDueMs then
        due = true
        local next = nextDueMs and now - nextDueMs < kPeriodMs and nextDueMs + kPeriodMs or now + kPeriodMs
        nextDueMs = math.max(next, now + kPeriodMs // 2)
    end
    if due then
        pollsSinceDue = 0
    end
    return due
end

-- The pawn ---------------------------------------------------------------------------------------------------

local function is_usable(object)
    return object ~= nil and object:IsValid()
end

local function is_number(value)
    return type(value) == "number" and value == value and math.abs(value) <= kLargestValue
end

-- The map as one field: control characters (a tab or a line end would shift the columns) become "_".
local function current_map_name()
    local world = UEHelpers.GetWorld()
    if not is_usable(world) then
        return nil
    end
    return (world:GetFName():ToString():sub(1, kMaxMapBytes):gsub("%c", "_"))
end

-- The pawn's pose and map on the game thread; nothing while there is no pawn.
local function read_pose()
    if not is_usable(controller) then
        controller = UEHelpers.GetPlayerController()
        if not is_usable(controller) then
            return nil
        end
    end
    local pawn = controller.Pawn
    if not is_usable(pawn) then
        return nil
    end
    mapName = mapName or current_map_name()
    if mapName == nil then
        return nil
    end
    local location = pawn:K2_GetActorLocation()
    local rotation = pawn:K2_GetActorRotation()
    local pose = { location.X, location.Y, location.Z, rotation.Yaw }
    for i = 1, 4 do
        if not is_number(pose[i]) then
            return nil
        end
    end
    pose.map = mapName
    return pose
end

-- The sample's time comes after the map while it is later than the last one written.
local sampleClock = new_counter()
local lastStampMs = nil

-- On the game thread, where engine objects may be touched.
local function sample_and_write()
    local pose = read_pose()
    if pose == nil then
        return
    end
    local ms = sampleClock()
    local stamped = ms ~= nil and (lastStampMs == nil or ms > lastStampMs)
    local row = string.format("%.3f\t%.3f\t%.3f\t%.3f\t%s", pose[1], pose[2], pose[3], pose[4], pose.map)
    row = row .. (stamped and string.format("\t%d\t%d\n", ms, sequence + 1) or "\n")
    if write_to_target(row) then
        sequence = sequence + 1
        if stamped then
            lastStampMs = ms
        end
    end
end

-- Loops ------------------------------------------------------------------------------------------------------

-- The current host runs LoopInGameThreadWithDelay's callback on the game thread, logs an error it raises and
-- goes on. Its last release (3.0.1) has only LoopAsync, whose callback runs on another thread and which it
-- drops for good when the callback raises; there the sample waits for the game thread, one at a time.
local loopsOnGameThread = type(LoopInGameThreadWithDelay) == "function"
local sampleQueued = false

local function sample_queued()
    sampleQueued = false
    local ok, problem = pcall(sample_and_write)
    if not ok then
        report(problem)
    end
end

local function poll()
    if loopsOnGameThread then
        if sample_due() then
            sample_and_write()
        end
    elseif not sampleQueued and sample_due() then
        sampleQueued = true
        local ok, problem = pcall(ExecuteInGameThread, sample_queued)
        if not ok then
            sampleQueued = false
            error(problem, 0)
        end
    end
end

-- A loop's callback raises nothing: its work runs under pcall. Should the host drop a loop all the same,
-- the other loop starts it again; one started anew replaces the old, which ends at its next call (LoopAsync)
-- or is cancelled (LoopInGameThreadWithDelay).
local sampling = { name = "sampling", delayMs = kPollMs }
local watchdog = { name = "watchdog", delayMs = kWatchdogMs }

local function arm(loop)
    loop.generation = (loop.generation or 0) + 1
    loop.turns, loop.seen, loop.missed = 0, 0, 0
    local generation = loop.generation
    if loop.handle ~= nil then
        pcall(CancelDelayedAction, loop.handle)
        loop.handle = nil
    end
    local function turn()
        if loop.generation ~= generation then
            return true
        end
        loop.turns = loop.turns + 1
        local ok, problem = pcall(loop.work)
        if not ok then
            pcall(report, problem)
        end
        return false
    end
    local ok, result = pcall(loopsOnGameThread and LoopInGameThreadWithDelay or LoopAsync, loop.delayMs, turn)
    if not ok then
        report("cannot start the " .. loop.name .. " loop: " .. tostring(result))
    elseif loopsOnGameThread then
        loop.handle = result
    end
end

-- Starts `loop` again when it had no turn during `patience` calls of this.
local function keep_alive(loop, patience)
    if loop.turns ~= loop.seen then
        loop.seen, loop.missed = loop.turns, 0
        return
    end
    loop.missed = loop.missed + 1
    if loop.missed >= patience then
        report("the host stopped the " .. loop.name .. " loop; starting it again")
        arm(loop)
    end
end

-- Keys and the mod's reports ----------------------------------------------------------------------------------

-- A file of the exchange directory, beside the local state wherever that goes.
local function exchange_file(name)
    return ((target or targets[1]):gsub("local_state%.tsv$", name))
end

local function key_text(binding)
    local parts = {}
    for _, modifier in ipairs(binding.modifiers) do
        parts[#parts + 1] = modifier == "CONTROL" and "Ctrl" or modifier:sub(1, 1) .. modifier:sub(2):lower()
    end
    parts[#parts + 1] = binding.key
    return table.concat(parts, "+")
end

local read_report -- below

-- Places an empty marker file; the mod looks only at whether it exists.
local function place_marker(name)
    local file, problem = io.open(exchange_file(name), "wb")
    if file == nil then
        return false, tostring(problem)
    end
    file:close()
    return true
end

local function on_enable_key()
    local ok, problem = place_marker("phase5g.enable_once.txt")
    if not ok then
        print("[KorvathTracker] cannot place the enable marker: " .. problem .. "\n")
    elseif read_report("phase5g.stop.txt") ~= nil then
        print("[KorvathTracker] enable marker placed, but the stop marker holds the session off: press "
            .. key_text(kResumeKey) .. "\n")
    else
        print("[KorvathTracker] enable marker placed: the session starts once your player has been loaded "
            .. "for 7 seconds\n")
    end
end

local function on_stop_key()
    local ok, problem = place_marker("phase5g.stop.txt")
    print(ok and "[KorvathTracker] stop marker placed: the session ends and the proxy goes\n"
        or "[KorvathTracker] cannot place the stop marker: " .. problem .. "\n")
end

local function on_resume_key()
    local path = exchange_file("phase5g.stop.txt")
    local existing = io.open(path, "rb")
    if existing == nil then
        print("[KorvathTracker] no stop marker to remove\n")
        return
    end
    existing:close()
    local ok, problem = os.remove(path)
    print(ok and "[KorvathTracker] stop marker removed: press " .. key_text(kEnableKey) .. " for a new session\n"
        or "[KorvathTracker] cannot remove the stop marker: " .. tostring(problem) .. "\n")
end

local function register_key(binding, action)
    local key = type(Key) == "table" and Key[binding.key]
    local modifiers = {}
    for _, name in ipairs(binding.modifiers) do
        modifiers[#modifiers + 1] = type(ModifierKey) == "table" and ModifierKey[name]
        if not modifiers[#modifiers] then
            return false, "no modifier key " .. name
        end
    end
    if not key then
        return false, "no key " .. binding.key
    end
    return pcall(RegisterKeyBind, key, modifiers, function()
        local ok, problem = pcall(action)
        if not ok then
            report(problem)
        end
    end)
end

local function register_keys()
    local texts = {}
    for _, entry in ipairs({ { kEnableKey, on_enable_key, "enable" }, { kStopKey, on_stop_key, "stop" },
        { kResumeKey, on_resume_key, "resume" } }) do
        local ok, problem = register_key(entry[1], entry[2])
        if ok then
            texts[#texts + 1] = key_text(entry[1]) .. " " .. entry[3]
        else
            print("[KorvathTracker] cannot bind " .. key_text(entry[1]) .. ": " .. tostring(problem) .. "\n")
        end
    end
    if #texts > 0 then
        print("[KorvathTracker] keys: " .. table.concat(texts, ", ") .. "\n")
    end
end

-- A report of the mod as its key=value pairs (its first line alone under "line"); nil while it is missing.
local kLargestReport = 4096
read_report = function(name)
    local file = io.open(exchange_file(name), "rb")
    if file == nil then
        return nil
    end
    local text = file:read(kLargestReport) or ""
    file:close()
    local values = { line = text:match("^[^\n]*") }
    for key, value in text:gmatch("([%w_]+)=([^\r\n]*)") do
        values[key] = value
    end
    return values
end

-- Text a program wrote, fit for one console line.
local function printable(text)
    return (tostring(text):sub(1, 120):gsub("[%c\128-\255]", "?"))
end

-- Once a second: one console line for each change in the mod's reports worth telling the player.
local seen = { sessionEnabled = "0", proxyActive = "0", clientBSpawnAdjusted = "0" }
local function watch_reports()
    local status = read_report("cpp_phase5g_status.txt")
    if status ~= nil then
        local function changed(key, to)
            local now = status[key]
            if now ~= nil and now ~= seen[key] then
                seen[key] = now
                return now == to
            end
            return false
        end
        if changed("clientBSpawnAdjusted", "1") then
            print("[KorvathTracker] CLIENT_B moved 800 units aside to its own spawn\n")
        end
        if changed("sessionEnabled", "1") then
            print("[KorvathTracker] the session is enabled\n")
        end
        local proxyBefore = seen.proxyActive
        if changed("proxyActive", "1") then
            print("[KorvathTracker] the other player's proxy spawned\n")
        elseif proxyBefore == "1" and seen.proxyActive == "0" then
            local destroyed = read_report("cpp_phase5g_destroy.txt")
            print("[KorvathTracker] the proxy was destroyed: "
                .. printable(destroyed and destroyed.destroyReason or "reason unknown") .. "\n")
        end
    end
    local failure = read_report("cpp_phase5g_error.txt")
    local message = failure and failure.line or nil
    if message ~= seen.error then
        seen.error = message
        if message ~= nil then
            print("[KorvathTracker] the mod failed: " .. printable(message) .. " (cpp_phase5g_error.txt)\n")
        end
    end
end

sampling.work = function()
    keep_alive(watchdog, 3 * kWatchdogMs // kPollMs)
    poll()
end
watchdog.work = function()
    keep_alive(sampling, 2)
    watch_reports()
end

RegisterLoadMapPostHook(function()
    controller = nil
    mapName = nil
end)
arm(sampling)
arm(watchdog)
register_keys()
print("[KorvathTracker] writing " .. targetText .. "\n")

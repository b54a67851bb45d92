-- KorvathTracker: keeps KorvathOnline/local_state.tsv up to date with this client's own pawn, for the
-- KorvathOnlineCpp mod (which only reads the file) and for korvath-session (which relays it to the
-- other client). Twenty times a second it reads the local pawn on the game thread and writes one row:
--   x <TAB> y <TAB> z <TAB> yaw <TAB> map <TAB> sample time (ms) <TAB> sequence number <LF>
-- While there is no pawn it writes nothing, so the file goes stale, which the mod takes for a player
-- who is not loaded.

local UEHelpers = require("UEHelpers")

-- Relative to the working directory, which the host sets to the game executable's folder: the host's
-- io.open takes narrow paths in the ANSI code page, which may not spell the game's full path.
local kPath = "KorvathOnline/local_state.tsv"
local kPeriodMs = 50
local kMaxMapBytes = 128
-- Beyond this a coordinate is no 32-bit float, and the mod would refuse the whole row.
local kLargestValue = 3.0e38

local sequence = 0
local sampleQueued = false
local controller = nil -- cached between samples; dropped when a map loads
local mapName = nil
local lastError = nil

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

-- The host's os.clock is its C runtime's clock(), which on Windows counts wall-clock milliseconds
-- since the process started; the relay needs only a steady clock, not a shared zero. Rounded, since
-- the seconds it returns need not multiply back to whole milliseconds.
local function now_ms()
    return math.floor(os.clock() * 1000 + 0.5)
end

-- Every write puts one record of this size at the start of the file: the row, then blanks up to the
-- size. The mod and the relay read only the first line, so the blanks after its line feed are ignored.
local kRecordBytes = 512
assert(kRecordBytes > 4 * 45 + kMaxMapBytes + 2 * 21 + 7, "a row of the largest values must fit")

-- Overwrites the record in place with one write when the file is closed. The file is never removed
-- (a missing file restarts the mod's wait for a loaded player, and the host's os.rename cannot
-- replace an existing file) nor emptied (emptying it first leaves an empty file for milliseconds on
-- some file systems): it always holds a whole row, and its size never changes once created.
local function write_row(row)
    local file = io.open(kPath, "r+b")
    if file == nil then
        local existing = io.open(kPath, "rb")
        if existing ~= nil then
            existing:close()
            return false -- there but not writable now (held by another program); the next period retries
        end
        file = io.open(kPath, "wb")
        if file == nil then
            return false -- no exchange directory yet: the mod creates it when it loads
        end
    end
    file:setvbuf("full", 2 * kRecordBytes)
    local written = file:write(row, string.rep(" ", kRecordBytes - #row))
    local closed = file:close()
    return written ~= nil and closed == true
end

local function sample_and_write()
    local pose = read_pose()
    if pose == nil then
        return
    end
    local row = string.format("%.3f\t%.3f\t%.3f\t%.3f\t%s\t%d\t%d\n", pose[1], pose[2], pose[3], pose[4],
        pose.map, now_ms(), sequence + 1)
    if write_row(row) then
        sequence = sequence + 1
    end
end

-- One line on the host's console per new kind of failure, not one per sample.
local function report(message)
    if message ~= lastError then
        lastError = message
        print("[KorvathTracker] " .. tostring(message) .. "\n")
    end
end

-- Runs on the game thread, where engine objects may be touched.
local function on_game_thread()
    sampleQueued = false
    local ok, message = pcall(sample_and_write)
    if not ok then
        report(message)
    end
end

-- Runs off the game thread. While the game thread is busy (a map loading) at most one sample waits.
local function on_period()
    if not sampleQueued then
        sampleQueued = true
        ExecuteInGameThread(on_game_thread)
    end
    return false -- keep looping
end

RegisterLoadMapPostHook(function()
    controller = nil
    mapName = nil
end)
LoopAsync(kPeriodMs, on_period)
print("[KorvathTracker] writing " .. kPath .. " " .. (1000 // kPeriodMs) .. " times a second\n")

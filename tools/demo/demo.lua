-- demo module: small examples of what a module can do.

local hits = 0
local lastReport = 0

-- Called by the "Count hits" trigger; matches[1] is the name it captured.
-- The count lives in the "hits" variable, so the "hits" alias can report it.
-- The running total is shown on this screen only, at most every ten
-- seconds: a flood of hits must not become a flood of commands to the game.
function onHit(line)
    hits = hits + 1
    setVariable("hits", hits)
    if os.time() - lastReport >= 10 then
        lastReport = os.time()
        echo("[demo] " .. hits .. " hits so far, the last on the " .. matches[1] .. ".")
    end
end

-- Called by the "hi" alias as lua:greet(everyone).
function greet(who)
    local level = getMsdp("CHARACTER_POWERLEVEL")
    if level == "" then level = "a mystery" end
    send("say Hello, " .. who .. "! My power level is " .. level .. ".")
end

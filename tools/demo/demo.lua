-- demo module: small examples of what a module can do.

local hits = 0

-- Called by the "Count hits" trigger; matches[1] is the name it captured.
function onHit(line)
    hits = hits + 1
    setVariable("hits", hits)
    if hits % 5 == 0 then
        send("say That makes " .. hits .. " hits on the " .. matches[1] .. "!")
    end
end

-- Called by the "hi" alias as lua:greet(everyone).
function greet(who)
    local level = getMsdp("CHARACTER_POWERLEVEL")
    if level == "" then level = "a mystery" end
    send("say Hello, " .. who .. "! My power level is " .. level .. ".")
end

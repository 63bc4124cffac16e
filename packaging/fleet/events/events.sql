-- The store: an event is the same one if host, number and time are the same. The number alone does
-- not do, as a replaced controller counts anew. Repeats vanish when ClickHouse merges, and at once
-- from what is selected with FINAL. Not partitioned by time: a controller may report any, and repeats
-- are the same only within a partition.
CREATE TABLE vesk.events (
    host String,
    sequence UInt32,
    time_raw UInt32,
    class Nullable(String),
    code UInt32,
    -- NULL: the controller's text names none.
    severity Nullable(String),
    severity_code UInt8,
    device_id UInt16,
    message Nullable(String),
    time DateTime MATERIALIZED toDateTime(time_raw),
    received DateTime MATERIALIZED now()
)
ENGINE = ReplacingMergeTree
ORDER BY (host, sequence, time_raw)

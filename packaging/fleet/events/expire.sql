-- What no controller has sent for 400 days. By that time and not the event's own: what a controller
-- still holds would come again, and the times of a controller may be wrong.
ALTER TABLE vesk.events DELETE WHERE received < now() - 400 * 86400

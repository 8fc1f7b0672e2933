-- The tables as the first version made them, with a pair and an intent of the scope SCOPE.
CREATE TABLE pair(
    key INTEGER PRIMARY KEY AUTOINCREMENT, scope BLOB NOT NULL,
    eudora_id BLOB NOT NULL, eudora_marker BLOB NOT NULL, eudora_fields TEXT NOT NULL,
    folder_id BLOB NOT NULL, folder_marker BLOB NOT NULL, folder_fields TEXT NOT NULL,
    uid BLOB NOT NULL, beyond INTEGER NOT NULL);
CREATE INDEX pair_scope ON pair(scope);
CREATE TABLE intent(
    scope BLOB NOT NULL, old_id BLOB NOT NULL, new_id BLOB NOT NULL,
    folder_id BLOB NOT NULL);
INSERT INTO pair VALUES(7, SCOPE, x'61', x'2D35', '["a","","","","","",""]', x'612E766366',
    x'33', '["a","","","","","",""]', x'75', 2);
INSERT INTO intent VALUES(SCOPE, x'61', x'62', x'63');
PRAGMA application_id = 0x6B767379;
PRAGMA user_version = 1;

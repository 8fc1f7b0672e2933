-- What the second version added to the tables of the first, with a mail.
CREATE TABLE mail(
    key INTEGER PRIMARY KEY AUTOINCREMENT, scope BLOB NOT NULL, link INTEGER NOT NULL,
    eudora_id BLOB NOT NULL, eudora_marker BLOB NOT NULL, message_id BLOB NOT NULL,
    file BLOB NOT NULL, flags BLOB NOT NULL, size INTEGER NOT NULL, content BLOB NOT NULL,
    name BLOB NOT NULL);
CREATE INDEX mail_scope ON mail(scope, link);
INSERT INTO mail VALUES(5, SCOPE, 0, x'61', x'31', x'62', x'63', x'53', 9, x'64', x'65');
PRAGMA user_version = 2;

-- an empty file: one table x and the right format number, nothing else.
create table x (a);
pragma user_version = 2;

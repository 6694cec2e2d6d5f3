-- A project's measurement table whose rows have no rowid to be found by.
create table Bl_3 (tw_recordkey primary key, tw_bill_num) without rowid;

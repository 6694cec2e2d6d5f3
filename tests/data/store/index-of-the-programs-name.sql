-- An index with the name of one the program makes, over other columns.
drop index tw_billmaster_bill;
create index tw_billmaster_bill on BillMaster (tw_item_narration);

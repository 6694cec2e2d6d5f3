-- An index the program never makes.
create index payment_rec_by_bill on payment_rec (tw_bill_num);

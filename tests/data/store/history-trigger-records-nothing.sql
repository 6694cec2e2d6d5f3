-- A payment's history trigger, under its own name, that records nothing.
drop trigger history_payment_rec_added;
create trigger history_payment_rec_added after insert on payment_rec begin
    select 1;
end;

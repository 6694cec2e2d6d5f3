-- A trigger in a file left in WAL mode: looking at it must not checkpoint it or make a -shm.
pragma journal_mode = wal;
create trigger units_wipe after delete on units begin
    delete from ContractMaster;
end;

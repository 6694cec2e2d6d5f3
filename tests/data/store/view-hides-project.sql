-- The projects seen through a view that hides the first one.
alter table ContractMaster rename to ContractMaster_all;
create view ContractMaster as select * from ContractMaster_all where tw_pkey <> 1;

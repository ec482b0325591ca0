CREATE TABLE customer (id INTEGER PRIMARY KEY, name TEXT, active INTEGER);
INSERT INTO customer VALUES (1, 'Weber', 1), (2, 'Muller', 0);
CREATE TABLE product (code VARCHAR(8) NOT NULL PRIMARY KEY, name VARCHAR(40));
INSERT INTO product VALUES ('p1', 'Lamp');
CREATE TABLE price (code VARCHAR(8), since DATE, amount DECIMAL(9,2));
INSERT INTO price VALUES ('p1', '2024-01-01', 9.99);

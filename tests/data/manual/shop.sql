CREATE TABLE customer (id INTEGER PRIMARY KEY, name TEXT, active INTEGER);
INSERT INTO customer VALUES (1, 'Weber', 1), (2, 'Muller', 0);
CREATE TABLE product (code VARCHAR(8) NOT NULL PRIMARY KEY, name VARCHAR(40));
INSERT INTO product VALUES ('p1', 'Lamp');
CREATE TABLE price (code VARCHAR(8), since DATE, amount DECIMAL(9,2));
INSERT INTO price VALUES ('p1', '2024-01-01', 9.99);
CREATE TABLE purchase (order_no INTEGER PRIMARY KEY, amount DECIMAL(9,2), changed_at DATETIME);
INSERT INTO purchase VALUES (1, 9.5, '2024-01-01 10:00:00');
